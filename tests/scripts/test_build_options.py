"""What configuring the program says."""

import pathlib
import subprocess

ROOT = pathlib.Path(__file__).resolve().parents[2]
OWN = {
    "QUILLO_BACKEND_ORIGIN": "https://quillo.test",
    "QUILLO_IDENTITY_ORIGIN": "https://login.quillo.test:8443",
    "QUILLO_HELP_URL": "https://quillo.test/help.example",
}


def warnings(folder, preset, options):
    """What configuring by the preset warns of, on one line."""
    command = ["cmake", "--preset", preset, "-B", folder, *(f"-D{name}={value}" for name, value in options.items())]
    answer = subprocess.run(command, cwd=ROOT, capture_output=True, text=True, check=True)
    return " ".join(answer.stderr.split())


def test_a_release_build_for_nowhere_is_warned_of(tmp_path):
    heard = warnings(tmp_path, "release", {})
    for name in OWN:
        assert f"{name} is https://" in heard


def test_each_address_is_warned_of_by_itself(tmp_path):
    heard = warnings(tmp_path, "release", {**OWN, "QUILLO_IDENTITY_ORIGIN": "https://login.example:8443"})
    assert "QUILLO_IDENTITY_ORIGIN is https://login.example:8443" in heard
    assert "QUILLO_BACKEND_ORIGIN" not in heard


def test_a_release_build_with_addresses_of_its_own_is_not_warned_of(tmp_path):
    assert warnings(tmp_path, "release", OWN) == ""


def test_daily_work_is_not_warned(tmp_path):
    assert warnings(tmp_path, "debug", {}) == ""
