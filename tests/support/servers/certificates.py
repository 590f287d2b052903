"""A certificate authority and a server certificate, made on the spot by openssl, for tests."""

import ipaddress
import pathlib
import subprocess


def _openssl(*arguments):
    subprocess.run(["openssl", *arguments], check=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)


def make_certificates(folder, names=("localhost", "127.0.0.1")):
    """Makes authority.pem, server.pem and server.key in `folder`, for the host names and addresses of `names`.

    Returns the three paths as strings. The certificates hold for two days. Those that are there already are kept.
    """
    folder = pathlib.Path(folder)
    authority, authority_key = str(folder / "authority.pem"), str(folder / "authority.key")
    server, server_key = str(folder / "server.pem"), str(folder / "server.key")
    request, extensions = str(folder / "server.csr"), folder / "server.ext"
    if pathlib.Path(server).exists():
        return authority, server, server_key
    curve = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes"]
    _openssl("req", "-x509", *curve, "-keyout", authority_key, "-out", authority, "-days", "2",
             "-subj", "/CN=Authority of the tests", "-addext", "basicConstraints=critical,CA:TRUE",
             "-addext", "keyUsage=critical,keyCertSign")
    _openssl("req", *curve, "-keyout", server_key, "-out", request, "-subj", f"/CN={names[0]}")

    def entry(name):
        try:
            return f"IP:{ipaddress.ip_address(name)}"
        except ValueError:
            return f"DNS:{name}"

    extensions.write_text(f"subjectAltName={','.join(entry(name) for name in names)}\n"
                          "extendedKeyUsage=serverAuth\n", encoding="ascii")
    _openssl("x509", "-req", "-in", request, "-CA", authority, "-CAkey", authority_key, "-CAcreateserial",
             "-out", server, "-days", "2", "-extfile", str(extensions))
    return authority, server, server_key
