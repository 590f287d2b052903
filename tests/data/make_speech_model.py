#!/usr/bin/python3
"""Writes the tests' small speech model as a file that whisper-cli loads: make_speech_model.py MODEL.bin

The layout of such a file, all numbers little-endian and four bytes long:

    magic "ggml", then eleven sizes (see Sizes)
    mel filter bank: rows, columns, then the values
    vocabulary: count, then for each token its length and its bytes
    tensors until the end: number of dimensions, length of the name, type (0 single, 1 half precision),
    the dimensions with the fastest first, the name, the values

A file of that name appears whole or not at all.
"""
import os
import pathlib
import struct
import sys
import tempfile
from typing import BinaryIO, Dict, Iterator, List, NamedTuple, Tuple

import numpy

FOLDER = pathlib.Path(__file__).resolve().parent
MAGIC = 0x67676D6C
SAMPLE_RATE = 16_000
WINDOW = 400  # samples of one spectrum

# A loader takes a model for multilingual by the size of its vocabulary, and knows the special tokens by their places.
VOCABULARY = 51_865
SPOKEN_TOKENS = 50_257
END, START, ENGLISH, DUTCH, TRANSCRIBE, NO_TIMESTAMPS = 50_257, 50_258, 50_259, 50_271, 50_359, 50_363


class Sizes(NamedTuple):
    """The header's eleven integers, in the order of the file."""

    vocabulary: int
    audio_context: int
    audio_state: int
    audio_heads: int
    audio_layers: int
    text_context: int
    text_state: int
    text_heads: int
    text_layers: int
    mel_bands: int
    half_precision: int


def hertz_of_mel(mel: float) -> float:
    """The mel scale that is linear up to 1000 Hz (15 mel) and logarithmic above it."""
    return mel * 200.0 / 3.0 if mel < 15.0 else 1000.0 * 6.4 ** ((mel - 15.0) / 27.0)


def mel_of_hertz(hertz: float) -> float:
    return hertz * 3.0 / 200.0 if hertz < 1000.0 else 15.0 + 27.0 * float(numpy.log(hertz / 1000.0) / numpy.log(6.4))


def mel_filter_bank(bands: int) -> numpy.ndarray:
    """Overlapping triangles, each of area one, from 0 Hz to half the sample rate."""
    top = mel_of_hertz(SAMPLE_RATE / 2)
    corners = numpy.array([hertz_of_mel(top * i / (bands + 1)) for i in range(bands + 2)])
    frequencies = numpy.linspace(0.0, SAMPLE_RATE / 2, WINDOW // 2 + 1)
    bank = numpy.zeros((bands, len(frequencies)), numpy.float32)
    for band in range(bands):
        left, peak, right = corners[band:band + 3]
        triangle = numpy.interp(frequencies, [left, peak, right], [0.0, 1.0, 0.0], left=0.0, right=0.0)
        bank[band] = triangle * 2.0 / (right - left)
    return bank


def audio_positions(context: int, state: int) -> numpy.ndarray:
    """Sines in the first half of the columns and cosines in the second, wavelengths growing up to 10,000."""
    half = state // 2
    scale = 10_000.0 ** (-numpy.arange(half) / (half - 1))
    angles = numpy.outer(numpy.arange(context), scale)
    return numpy.hstack([numpy.sin(angles), numpy.cos(angles)])


def token_texts(words: List[str]) -> Iterator[bytes]:
    """The words that the model knows, the full stop, and names for the tokens that it never says."""
    known = [f" {word}" for word in words] + ["."]
    yield from (text.encode() for text in known)
    yield b" "  # a loader looks this one up
    for index in range(len(known) + 1, SPOKEN_TOKENS):
        yield b"<unused%d>" % index


def token_embedding(weights: Dict[str, numpy.ndarray]) -> numpy.ndarray:
    """One row a token: the trained rows at their places, and the same unlikely row everywhere else."""
    trained = weights["emb"]
    special = [END, START, ENGLISH, DUTCH, TRANSCRIBE, NO_TIMESTAMPS]
    spoken = len(trained) - len(special)
    table = numpy.tile(weights["unused"], (VOCABULARY, 1))
    table[:spoken] = trained[:spoken]
    table[special] = trained[spoken:]
    return table


def tensors(weights: Dict[str, numpy.ndarray], sizes: Sizes) -> Iterator[Tuple[str, numpy.ndarray, bool]]:
    """Name, values, and whether the loader wants single precision."""
    yield "encoder.positional_embedding", audio_positions(sizes.audio_context, sizes.audio_state), True
    yield "decoder.positional_embedding", weights["dpos"], True
    yield "decoder.token_embedding.weight", token_embedding(weights), False
    for name, values in weights.items():
        room, _, rest = name.partition(".")
        if room in ("conv1", "conv2"):
            # A convolution's bias is a column, to be added to every frame.
            column = rest == "bias"
            yield f"encoder.{name}", values.reshape(-1, 1) if column else values, column
        elif room in ("enc", "dec"):
            yield f"{room}oder.blocks.{rest}", values, values.ndim == 1
        elif room == "ln_post":
            yield f"encoder.ln_post.{rest}", values, True
        elif room == "ln":
            yield f"decoder.ln.{rest}", values, True


def write_model(out: BinaryIO) -> None:
    with numpy.load(FOLDER / "weights.npz") as archive:
        weights = {name: archive[name] for name in archive.files}
    words = (FOLDER / "words.txt").read_text(encoding="utf-8").split()

    state = weights["emb"].shape[1]
    layers = {room: len({name.split(".")[1] for name in weights if name.startswith(room + ".")})
              for room in ("enc", "dec")}
    sizes = Sizes(vocabulary=VOCABULARY, audio_context=1500, audio_state=state, audio_heads=2,
                  audio_layers=layers["enc"], text_context=len(weights["dpos"]), text_state=state, text_heads=2,
                  text_layers=layers["dec"], mel_bands=weights["conv1.weight"].shape[1], half_precision=1)
    out.write(struct.pack("<I11i", MAGIC, *sizes))

    bank = mel_filter_bank(sizes.mel_bands)
    out.write(struct.pack("<2i", *bank.shape) + bank.astype("<f4").tobytes())

    out.write(struct.pack("<i", SPOKEN_TOKENS))
    for text in token_texts(words):
        out.write(struct.pack("<I", len(text)) + text)

    for name, values, single in tensors(weights, sizes):
        data = numpy.ascontiguousarray(values, "<f4" if single else "<f2")
        encoded = name.encode()
        out.write(struct.pack("<3i", data.ndim, len(encoded), 0 if single else 1))
        out.write(struct.pack(f"<{data.ndim}i", *reversed(data.shape)) + encoded + data.tobytes())


def make(path: pathlib.Path) -> None:
    path.parent.mkdir(parents=True, exist_ok=True)
    handle, unfinished = tempfile.mkstemp(prefix=path.name + ".", dir=path.parent)
    try:
        with os.fdopen(handle, "wb") as out:
            write_model(out)
        os.replace(unfinished, path)
    except BaseException:
        os.unlink(unfinished)
        raise


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__.splitlines()[0])
    make(pathlib.Path(sys.argv[1]))
