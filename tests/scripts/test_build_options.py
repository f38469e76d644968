"""What configuring the program says."""

import json
import pathlib
import subprocess

import pytest

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


def compilations(folder, preset, options):
    """How every source of the program is compiled, by the preset with these options."""
    warnings(folder, preset, {**OWN, **options})
    commands = [each["command"] for each in json.loads((folder / "compile_commands.json").read_text(encoding="utf-8"))]
    assert len(commands) > 50
    return commands


@pytest.mark.parametrize("level", ["3", "1"])
def test_the_fortification_that_a_distributor_chose_stands(tmp_path, level):
    for command in compilations(tmp_path, "release", {"CMAKE_CXX_FLAGS": f"-O2 -D_FORTIFY_SOURCE={level}"}):
        assert command.count("_FORTIFY_SOURCE") == 1


@pytest.mark.parametrize("build_type", ["", "Release", "RelWithDebInfo", "MinSizeRel"])
def test_every_build_for_users_is_hardened(tmp_path, build_type):
    commands = compilations(tmp_path, "release", {"CMAKE_BUILD_TYPE": build_type})
    for command in commands:
        assert "-fstack-clash-protection" in command
        assert "-fstack-protector-strong" in command
    assert "-z,relro,-z,now" in (tmp_path / "build.ninja").read_text(encoding="utf-8")


def test_the_compiler_cache_can_be_switched_off(tmp_path):
    assert "ccache" not in "".join(compilations(tmp_path, "release", {"QUILLO_CCACHE": "OFF"}))
    assert "ccache" not in (tmp_path / "build.ninja").read_text(encoding="utf-8")


def test_names_follow_the_application_id(tmp_path):
    identifier = "org.example.Balance"
    warnings(tmp_path, "release", {**OWN, "QUILLO_APPLICATION_ID": identifier})
    entry = (tmp_path / f"packaging/{identifier}.desktop").read_text(encoding="utf-8")
    assert f"\nIcon={identifier}\n" in entry
    metainfo = (tmp_path / f"packaging/{identifier}.metainfo.xml").read_text(encoding="utf-8")
    page = (tmp_path / "packaging/quillo.1").read_text(encoding="utf-8")
    assert not [text for text in (entry, metainfo, page) if "app.quillo.Quillo" in text]
