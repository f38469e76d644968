"""What a page asks its reader to do, and where it leads."""

import re

UNTESTED = re.compile(r"^<!-- No test runs ")
FENCE = re.compile(r"^```(\w*)$")
# Of code within a sentence, what begins with one of these and has an argument is a command.
PROGRAMS = ("sudo", "apt", "cmake", "ctest", "node", "npm", "git", "quillo", "secret-tool", "rm", "python3")


def commands(text):
    """The commands of a page, each with whether it is marked as run by no test."""
    found = []
    marked = fenced = False
    for line in text.splitlines():
        if fence := FENCE.match(line):
            fenced = not fenced and fence[1] in ("", "sh", "bash")
        elif fenced or line.startswith("    "):
            found += [(command.strip(), marked) for command in line.split("&&") if command.strip()]
        elif line.strip():
            marked = UNTESTED.match(line) is not None
            spans = [] if marked else re.findall(r"`([^`]+)`", line)
            found += [(span, False) for span in spans if _is_command(span)]
    return found


def _is_command(span):
    words = span.split()
    return len(words) > 1 and (words[0] in PROGRAMS or words[0].startswith("scripts/"))


def links(text):
    """The targets of links and pictures."""
    prose = re.sub(r"^```.*?^```", "", text, flags=re.MULTILINE | re.DOTALL)
    return re.findall(r"\]\(([^)\s]+)\)|(?:src|srcset|href)=\"([^\"]+)\"", prose)


def anchors(text):
    """The names of a page's headings as links write them."""
    headings = re.findall(r"^#+ (.*)$", text, flags=re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}
