"""The package tavlo-wayland-keys, installed and removed by root."""
import pathlib

from .root import as_root, check_as_root

_ROOT = pathlib.Path(__file__).resolve().parents[3]
# dpkg with a short list of packages, the three that this one needs: the computer's own takes long to read here.
_DPKG = ("dpkg", "--admindir=/run/packages")


def package():
    """The one that scripts/package made."""
    found = sorted((_ROOT / "build/package").glob("tavlo-wayland-keys_*_all.deb"))
    if len(found) != 1:
        raise RuntimeError(f"one package is expected in build/package, which scripts/package makes, not {found}")
    return found[0]


def give():
    check_as_root("sh", "-ec", "cd /run; [ -d packages ] || { mkdir -p packages/info packages/updates packages/triggers;"
                               "dpkg-query --status acl kmod udev >packages/status; }")
    check_as_root(*_DPKG, "--install", package())


def take_back():
    """Does nothing where it is not given."""
    as_root(*_DPKG, "--purge", "tavlo-wayland-keys")
