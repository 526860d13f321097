#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The built programs under a Wayland compositor: every window comes up and can be photographed, bears
the name of its desktop entry, and the toolkit has nothing to complain of.
  wayland_test.py PROGRAM DECK_TOOL FOLDER_OF_TOKEN_LIBRARY VIEWER"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

from Reader import Atspi, Program, all_in, is_in, wait_for

PROGRAM, DECK_TOOL, SIMULATOR, VIEWER = sys.argv[1:5]
SOCKET = "orselcards-test"
CARD = ("acos-a04", "0512380917624502", "Käthe Grünbichler")
DEBUG_LINE = re.compile(r"^\[ *\d+\.\d+\] ")  # of the protocol, which is written down beside everything else


class Compositor:
    """weston in a window that fills the virtual display, which gives it the seat that the toolkit does not get by without."""

    SETTINGS = """[core]
idle-time=0
[shell]
panel-position=none
locking=false
animation=none
startup-animation=none
close-animation=none
"""

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory()
        os.chmod(self.folder.name, 0o700)
        settings = os.path.join(self.folder.name, "settings")
        pathlib.Path(settings).write_text(self.SETTINGS)
        environment = dict(os.environ, XDG_RUNTIME_DIR=self.folder.name, HOME=self.folder.name)
        environment.pop("LD_LIBRARY_PATH", None)
        self.log = open(os.path.join(self.folder.name, "log"), "w+")
        self.process = subprocess.Popen(["weston", "--backend=x11-backend.so", "--use-pixman", "--fullscreen", "--width=1280",
                                         "--height=1024", f"--config={settings}", f"--socket={SOCKET}"],
                                        env=environment, stdout=self.log, stderr=self.log)
        self.environment = {"XDG_RUNTIME_DIR": self.folder.name, "WAYLAND_DISPLAY": SOCKET}
        wait_for(lambda: os.path.exists(os.path.join(self.folder.name, SOCKET)), "the compositor")

    @staticmethod
    def picture():
        """Everything on the screen, when it no longer changes."""
        return wait_for(lambda: next((picture for picture in [Compositor.glance()] if picture == Compositor.glance()), None),
                        "a picture that stays")

    @staticmethod
    def glance():
        """Everything on the screen now, three bytes a pixel."""
        return subprocess.run(["import", "-window", "root", "-depth", "8", "rgb:-"], check=True, capture_output=True).stdout

    def close(self):
        self.process.terminate()
        self.process.wait()
        self.log.close()
        self.folder.cleanup()


class OnWayland(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.compositor = Compositor()
        self.addCleanup(self.compositor.close)
        self.before = wait_for(lambda: next((picture for picture in [self.compositor.picture()] if any(picture)), None),
                               "the background")
        self.program = Program(PROGRAM, DECK_TOOL, SIMULATOR, VIEWER, [CARD],
                               dict(self.compositor.environment, GDK_BACKEND="wayland", WAYLAND_DEBUG="1", DISPLAY=""))
        self.addCleanup(self.program.end)

    def await_title(self, title):
        """The program has told the compositor of a window with this title. The bus says nothing while a dialog is there
        that was opened over it."""
        wait_for(lambda: self.program.has_written(f'set_title("{title}'), title)

    def photograph(self, name):
        """The picture differs from the one before as soon as the window is drawn."""
        before = self.before
        self.before = wait_for(lambda: next((picture for picture in [self.compositor.picture()] if picture != before), None),
                               f"a picture of {name}")
        self.keep_picture(name)

    @staticmethod
    def keep_picture(name):
        if "ORSEL_PICTURES" in os.environ:
            subprocess.run(["import", "-window", "root", os.path.join(os.environ["ORSEL_PICTURES"], f"wayland-{name}.png")],
                           check=True)

    def photograph_unrest(self, name):
        """The pointer moves by itself while the program is busy, but is smaller than any window."""
        def has_much_changed():
            return sum(one != other for one, other in zip(self.before[::3], self.compositor.glance()[::3])) > 10_000
        wait_for(has_much_changed, f"a picture of {name}")
        self.keep_picture(name)

    def shown_window(self):
        window = self.program.main_window()
        cards = wait_for(lambda: next((thing for thing in all_in(window) if thing.get_name() == "Karten: 1"), None), "cards")
        wait_for(lambda: is_in(cards, Atspi.StateType.SENSITIVE), "the list to be enabled")
        self.photograph("main")
        return window

    def test_the_main_window_and_the_viewer_come_up(self):
        window = self.shown_window()
        self.program.act(window, "Zertifikat anzeigen, Signaturzertifikat")
        desktop = Atspi.get_desktop(0)
        wait_for(lambda: any(desktop.get_child_at_index(i).get_child_at_index(0).get_name().endswith("– Zertifikat")
                             for i in range(desktop.get_child_count())), "the viewer")
        self.photograph("viewer")
        self.expect_nothing_amiss({"orselcards", "orselcards-certviewer"})

    def test_the_signature_test_comes_up(self):
        self.open_and_photograph("Signatur testen, Signaturzertifikat", "Unterschriftentest", "test")

    def test_the_infobox_comes_up(self):
        self.open_and_photograph("Infobox anzeigen", "Infoboxbereich", "infobox")

    def test_the_word_that_there_is_no_identity_link_comes_up(self):
        window = self.shown_window()
        self.program.forget(CARD[1], "INFOBOX")
        self.program.act(window, "Infobox anzeigen")
        self.await_title("Keine Personenbindung")
        self.photograph("none")
        self.expect_nothing_amiss({"orselcards"})

    def test_the_busy_dialog_comes_up(self):
        window = self.shown_window()
        self.program.slow_down(CARD[1], 500)
        self.program.act(window, "Karten neu einlesen")
        self.program.window("Bitte warten")
        self.photograph_unrest("busy")
        self.program.is_gone("Bitte warten")
        self.expect_nothing_amiss({"orselcards"})

    def open_and_photograph(self, button, title, name):
        self.program.act(self.shown_window(), button)
        self.await_title(title)
        self.photograph(name)
        self.expect_nothing_amiss({"orselcards"})

    def expect_nothing_amiss(self, names):
        written = self.program.close()
        self.assertEqual(set(re.findall(r'set_app_id\("([^"]*)"\)', written)), names)
        self.assertEqual("\n".join(line for line in written.splitlines() if not DEBUG_LINE.match(line)), "")


if __name__ == "__main__":
    if shutil.which("weston") is None:
        sys.exit("weston is missing: scripts/install-dependencies test")
    unittest.main(argv=[sys.argv[0], "-v", *sys.argv[5:]])
