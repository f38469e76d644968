"""The README's commands for removing what is the user's do just that."""

import subprocess

import pytest
from harness.desktop import Desktop
from harness.keyring import read_secret, store_secret
from harness.program import ROOT
from page_text import commands

SERVICE = "app.quillo.Quillo"
ACCOUNTS = ("api_key", "oidc_refresh", "oidc_email")


@pytest.fixture
def desktop():
    with Desktop() as session:
        yield session


def commands_with(word):
    """Those of the README's commands that are tried here."""
    readme = (ROOT / "README.md").read_text(encoding="utf-8")
    return [command for command, marked in commands(readme) if not marked and word in command]


def test_what_is_the_users_goes_by_the_commands_of_the_readme(desktop):
    kept = desktop.config_home / "autostart/other.desktop"
    for file in ("quillo/defaults.json", "quillo/defaults.json.damaged", f"autostart/{SERVICE}.desktop", kept):
        path = desktop.config_home / file
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("{}", encoding="utf-8")
    for account in ACCOUNTS:
        store_secret(desktop.environment, SERVICE, account, "secret")
    store_secret(desktop.environment, "app.quillo.Other", "api_key", "kept")

    for command in [*commands_with("rm "), *commands_with("secret-tool ")]:
        subprocess.run(command, shell=True, env=desktop.environment, check=True, timeout=20)

    left = sorted(path for path in desktop.config_home.rglob("*") if "quillo" in path.name.lower())
    assert left == []
    assert kept.exists()
    assert [read_secret(desktop.environment, SERVICE, account) for account in ACCOUNTS] == [None] * 3
    assert read_secret(desktop.environment, "app.quillo.Other", "api_key") == "kept"
