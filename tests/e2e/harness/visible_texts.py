"""Prints every text that accessible applications of this session show, one JSON line.

Runs as a program of its own inside the session, because the accessibility library belongs to one bus for
the life of a process. The texts are those an assistive technology would read out: object names and contents.
"""

import json

import pyatspi


def texts_below(accessible, found):
    for index in range(accessible.childCount):
        child = accessible.getChildAtIndex(index)
        if child is None:
            continue
        if child.name:
            found.append(child.name)
        texts_below(child, found)


def main():
    found = []
    texts_below(pyatspi.Registry.getDesktop(0), found)
    print(json.dumps(found))


if __name__ == "__main__":
    main()
