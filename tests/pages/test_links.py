"""Links between the pages lead somewhere."""

import pathlib

import pytest
from page_text import anchors, links

ROOT = pathlib.Path(__file__).resolve().parents[2]


PAGES = [page for place in (".", "docs", "docs/decisions", "sandbox", "tests/bodies") for page in (ROOT / place).glob("*.md")]


def broken(page, text):
    found = []
    for target in ("".join(pair) for pair in links(text)):
        if target.startswith("https://"):
            continue
        path, _, anchor = target.partition("#")
        file = page.parent / path if path else page
        named = anchors(text if not path else file.read_text(encoding="utf-8")) if anchor and file.is_file() else {anchor}
        if not file.exists() or anchor not in named:
            found.append(target)
    return found


@pytest.mark.parametrize("page", PAGES, ids=lambda page: str(page.relative_to(ROOT)))
def test_every_link_leads_somewhere(page):
    assert broken(page, page.read_text(encoding="utf-8")) == []


def test_a_link_that_leads_nowhere_is_found(tmp_path):
    (tmp_path / "other.md").write_text("# One thing\n\n## `Code`, and more\n", encoding="utf-8")
    page = tmp_path / "page.md"
    text = "# Here\n\n[a](other.md#one-thing) [b](other.md#code-and-more) [c](#here) [d](https://quillo.example)\n"
    page.write_text(text, encoding="utf-8")
    assert broken(page, text) == []
    wrong = '[a](none.md) [b](other.md#two) [c](#there) <img src="none.png">\n'
    assert broken(page, wrong) == ["none.md", "other.md#two", "#there", "none.png"]


def test_every_picture_is_light_enough():
    pictures = sorted((ROOT / "docs/screenshots").glob("*.png"))
    assert pictures
    assert [picture.name for picture in pictures if picture.stat().st_size > 300_000] == []
