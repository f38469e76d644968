"""Prints as JSON what accessible applications of this session show: {application: {"texts": […], "guests": N}}.

Runs as a program of its own inside the session, because the accessibility library belongs to one bus for
the life of a process. The texts are those a screen reader would read out; guests are the parts of the
application's windows that other processes fill in.
"""

import json

import pyatspi


def look_below(accessible, owner, seen):
    for index in range(accessible.childCount):
        child = accessible.getChildAtIndex(index)
        if child is None:
            continue
        if child.name:
            seen["texts"].append(child.name)
        if child.app.bus_name != owner:
            seen["guests"] += 1
        look_below(child, child.app.bus_name, seen)


def main():
    applications = {}
    for application in pyatspi.Registry.getDesktop(0):
        seen = applications.setdefault(application.name, {"texts": [], "guests": 0})
        look_below(application, application.app.bus_name, seen)
    print(json.dumps(applications))


if __name__ == "__main__":
    main()
