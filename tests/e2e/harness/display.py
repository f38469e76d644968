"""An X display without hardware, with a window manager."""

import os
import shutil
import subprocess

from .processes import Child
from .waiting import wait_until

# Window managers, by the command that starts them. They differ in what brings a window to the front.
OPENBOX = ("openbox", "--sm-disable")
XFWM4 = ("xfwm4", "--compositor=off", "--sm-client-disable")
METACITY = ("metacity", "--no-composite", "--sm-disable")


class Display:
    """Xvfb on the first free display number, and a window manager on it once `start_window_manager` was called."""

    def __init__(self, folder, environment, *, size="1280x800"):
        self._folder = folder
        self._environment = environment
        read_end, write_end = os.pipe()
        command = ["Xvfb", "-displayfd", str(write_end), "-screen", "0", f"{size}x24", "-nolisten", "tcp", "-noreset"]
        self._server = Child(command, environment=environment, log=folder / "Xvfb.log", pass_fds=(write_end,))
        self._manager = None
        os.close(write_end)
        with os.fdopen(read_end) as numbers:
            number = numbers.readline().strip()
        if not number:
            raise RuntimeError(f"Xvfb did not start:\n{self._server.output()}")
        self.name = f":{number}"
        environment["DISPLAY"] = self.name
        # The first key that is ever typed changes the keyboard's map, upon which whoever has grabbed keys lets
        # them go and grabs them anew: a chord typed just then is lost. So it is typed before anybody is there.
        self._xdotool("key", "shift")

    def start_window_manager(self, command=OPENBOX):
        """Starts a window manager and waits until it is at work."""
        self._manager = Child(
            list(command), environment=self._environment, log=self._folder / f"{command[0]}.log"
        )
        wait_until(self._has_window_manager, lambda: f"{command[0]} at work:\n{self._manager.output()}")

    def _has_window_manager(self):
        """Extended Window Manager Hints, "_NET_SUPPORTING_WM_CHECK"."""
        command = ["xprop", "-root", "_NET_SUPPORTING_WM_CHECK"]
        answer = subprocess.run(
            command, env=self._environment, capture_output=True, text=True, check=False, timeout=30
        )
        return "window id" in answer.stdout

    def screenshot(self, path, *, crop=None, window="root"):
        """Writes the screen, or its part `crop` ("WIDTHxHEIGHT+X+Y"), to a PNG file once it stands still.

        With the identifier of a window, that window's content alone.
        """
        pictures = [self._picture(crop, window)]

        def stands_still():
            pictures.append(self._picture(crop, window))
            return pictures[-1] == pictures[-2]

        wait_until(stands_still, "a screen that stands still")
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(pictures[-1])

    def _picture(self, crop, window):
        command = ["import", "-display", self.name, "-window", window]
        if crop:
            command += ["-crop", crop, "+repage"]
        command += ["-define", "png:exclude-chunks=date,time", "png:-"]
        return subprocess.run(command, env=self._environment, check=True, capture_output=True, timeout=30).stdout

    def type_into(self, window_class, text):
        """Waits for a window of that class, types the text into it and presses Return."""

        def window():
            found = self._xdotool("search", "--onlyvisible", "--class", window_class)
            return found.stdout.split()

        identifier = wait_until(window, f"a window of {window_class}")[-1]
        self._xdotool("windowfocus", "--sync", identifier)
        self._xdotool("type", "--window", identifier, text)
        self._xdotool("key", "--window", identifier, "Return")

    def _xdotool(self, *arguments):
        return subprocess.run(
            ["xdotool", *arguments], env=self._environment, capture_output=True, text=True, check=False, timeout=30
        )

    def kill(self):
        """Ends the server under its programs, as a crash would."""
        self._server.kill()

    def stop(self):
        if self._manager:
            self._manager.stop()
        self._server.stop()


def required_program(name):
    """The path of a program, or an error that names what to install."""
    path = shutil.which(name)
    if not path:
        raise RuntimeError(f"{name} is not installed; run scripts/setup --test")
    return path
