"""Looking for secrets where none may be, in every disguise that software puts on text by itself."""

import base64
import pathlib
import urllib.parse


def found_in(content, secrets):
    """The names of those of `secrets` ({name: text}) that the bytes contain."""
    return {name for name, secret in secrets.items() if any(form in content for form in _forms(secret))}


def found_in_files(folder, secrets, *, apart_from=()):
    """{path: names of the secrets in it} for all files below the folder that are not below `apart_from`."""
    found = {}
    for path in sorted(folder.rglob("*")):
        if any(path.is_relative_to(left_out) for left_out in apart_from) or path.is_symlink() or not path.is_file():
            continue
        if names := found_in(_content(path), secrets):
            found[str(path.relative_to(folder))] = names
    return found


def found_in_processes(folder, secrets):
    """{program: names of the secrets} in arguments and environments of all processes that know the folder.

    Those are all programs of the desktop session that lives in this folder.
    """
    found = {}
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        environment = _content(process / "environ")
        if str(folder).encode() not in environment:
            continue
        if names := found_in(_content(process / "cmdline") + environment, secrets):
            found[_content(process / "comm").decode().strip()] = names
    return found


def _content(path):
    try:
        return path.read_bytes()
    except OSError:
        return b""  # It ended, or was removed meanwhile.


def _forms(secret):
    plain = secret.encode()
    yield plain
    yield urllib.parse.quote(secret, safe="").encode()
    yield "".join(one if one.isalnum() else f"%{ord(one):02X}" for one in secret).encode()
    yield secret.encode("utf-16-le")
    yield plain.hex().encode()
    # Base64 of a text that contains the secret, wherever in a group of three it begins; without the
    # characters that its neighbours share.
    for before in range(3):
        whole = base64.b64encode(bytes(before) + plain).rstrip(b"=")
        inner = whole[-(-before * 8 // 6) : len(whole) - 1]
        yield inner
        yield inner.replace(b"+", b"-").replace(b"/", b"_")
