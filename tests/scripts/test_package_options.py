"""scripts/package builds nothing that could sign nobody in, unless told so."""

import pathlib
import subprocess

import pytest

PACKAGE = pathlib.Path(__file__).resolve().parents[2] / "scripts/package"
OWN = {"--backend": "https://quillo.test", "--identity": "https://login.quillo.test:8443", "--help-url": "https://quillo.test/help"}


def refusal(arguments):
    answer = subprocess.run([PACKAGE, *arguments], capture_output=True, text=True, check=False, timeout=20)
    assert answer.stdout == ""
    assert answer.returncode != 0
    return answer.returncode, answer.stderr


def with_(option, value):
    return [word for pair in {**OWN, option: value}.items() for word in pair]


@pytest.mark.parametrize(
    "arguments",
    [
        [],
        ["--backend", "https://quillo.test"],
        ["--backend"],
        ["--bogus"],
        ["--example", "--backend", "https://quillo.test"],
        [word for pair in OWN.items() for word in pair] + ["--example"],
    ],
)
def test_incomplete_or_contradictory_options_are_usage_errors(arguments):
    status, words = refusal(arguments)
    assert status == 2
    assert words.startswith("usage: scripts/package ")


@pytest.mark.parametrize("option", OWN)
@pytest.mark.parametrize("host", ["app.quillo.example", "app.quillo.example.", "app.quillo.example:8443"])
def test_addresses_that_exist_nowhere_are_refused(option, host):
    _, words = refusal(with_(option, f"https://{host}"))
    assert f"{option} lies in .example" in words


@pytest.mark.parametrize("value", ["quillo.test", "ftp://quillo.test", "https://quillo.test/", "https://", "https://a b"])
def test_what_is_no_origin_is_refused(value):
    _, words = refusal(with_("--backend", value))
    assert f"--backend is no origin: {value}" in words


@pytest.mark.parametrize("value", ["quillo.test/help", "https://quillo.test/help page", "https://quillo.test/$(false)", "https://quillo.test/;"])
def test_what_is_no_address_is_refused(value):
    _, words = refusal(with_("--help-url", value))
    assert f"--help-url is no address: {value}" in words
