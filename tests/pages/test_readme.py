"""The README's commands work, or say that nobody tries them."""

import pathlib

import pytest
from page_text import commands

ROOT = pathlib.Path(__file__).resolve().parents[2]
README = (ROOT / "README.md").read_text(encoding="utf-8")

# Which file runs a command, and by which words.
RUN = {
    "scripts/demo": ("tests/e2e/test_demo.py", 'ROOT / "scripts/lib/demo.py"'),
    "scripts/test": (".ci/run", "scripts/test"),
    "quillo --version": ("tests/packaging/check-installation", "program --version"),
    "cmake --install build/release": ("tests/packaging/check-installation", 'cmake --install "$build"'),
    "rm -r ~/.config/quillo": ("tests/pages/test_removing.py", "commands_with("),
    "rm ~/.config/autostart/app.quillo.Quillo.desktop": ("tests/pages/test_removing.py", "commands_with("),
    "secret-tool clear service app.quillo.Quillo": ("tests/pages/test_removing.py", "commands_with("),
}


def unaccounted(text):
    return [command for command, marked in commands(text) if not marked and command not in RUN]


def test_every_command_is_run_by_a_test_or_marked_as_not():
    assert unaccounted(README) == []


@pytest.mark.parametrize("command", RUN)
def test_what_is_said_to_run_a_command_does(command):
    file, words = RUN[command]
    assert words in (ROOT / file).read_text(encoding="utf-8")
    assert (command, False) in commands(README)


def test_the_demonstration_is_what_its_test_runs():
    assert "scripts/lib/demo.py" in (ROOT / "scripts/demo").read_text(encoding="utf-8")


@pytest.mark.parametrize(
    "page",
    [
        "Do this:\n\n    make coffee\n",
        "Do this:\n\n```sh\nmake coffee\n```\n",
        "Do this:\n\n    scripts/test && make coffee\n",
        "Say `sudo make coffee` first.\n",
        "<!-- No test runs this: the host is made up. -->\n\n    ping example.org\n\nThen:\n\n    make coffee\n",
    ],
)
def test_a_command_that_nobody_runs_is_found(page):
    (found,) = unaccounted(page)
    assert "make coffee" in found


@pytest.mark.parametrize(
    "page",
    [
        "<!-- No test runs this: it takes an hour. -->\n\n    make coffee\n    make tea\n",
        "The file `~/.config/quillo` and the folder `scripts/`.\n",
        '```json\n{ "make": "coffee" }\n```\n',
    ],
)
def test_what_is_marked_or_is_no_command_is_passed_over(page):
    assert unaccounted(page) == []
