"""A release has one number wherever it is named, and tells its users what is new."""

import json
import pathlib
import re

import yaml

ROOT = pathlib.Path(__file__).resolve().parents[2]


def read(name):
    return (ROOT / name).read_text(encoding="utf-8")


VERSION = re.search(r"^project\(Quillo VERSION ([\d.]+)", read("CMakeLists.txt"), re.MULTILINE)[1]


def test_the_changes_begin_with_unreleased_and_this_release():
    headings = re.findall(r"^## (.*)$", read("CHANGELOG.md"), re.MULTILINE)
    assert headings[0] == "Unreleased"
    assert re.fullmatch(rf"{re.escape(VERSION)} – \d{{4}}-\d\d-\d\d", headings[1])


def test_the_metainfo_has_this_release_of_the_same_day():
    (day,) = re.findall(r'<release version="@PROJECT_VERSION@" date="([\d-]+)"', read("packaging/quillo.metainfo.xml.in"))
    assert f"## {VERSION} – {day}\n" in read("CHANGELOG.md")


def test_what_describes_the_api_has_the_number_of_the_release():
    assert yaml.safe_load(read("docs/openapi.yaml"))["info"]["version"] == VERSION
    assert json.loads(read("sandbox/package.json"))["version"] == VERSION
