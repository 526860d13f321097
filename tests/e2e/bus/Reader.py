# SPDX-License-Identifier: MIT
"""What a screen reader knows of a program: its windows over the accessibility bus, and keys. No pointer."""
import json
import os
import pathlib
import subprocess
import tempfile
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

PATIENCE = 60  # seconds, on a busy machine
LOST = (GLib.Error, AttributeError)  # what has gone while it was looked at


def wait_for(condition, what):
    """Lets events come in until the condition gives something, which is returned."""
    end = time.monotonic() + PATIENCE
    while True:
        context = GLib.MainContext.default()
        while context.iteration(False):
            pass
        try:
            result = condition()
        except LOST:
            result = None
        if result:
            return result
        if time.monotonic() > end:
            raise AssertionError(f"waited in vain for {what}")
        time.sleep(0.02)


def all_in(thing):
    """A thing on the bus and everything in it."""
    yield thing
    for i in range(thing.get_child_count()):
        child = thing.get_child_at_index(i)
        if child is not None:
            yield from all_in(child)


def is_in(thing, *states):
    return all(thing.get_state_set().contains(state) for state in states)


def focusable_in(window):
    """The controls that can have the focus now."""
    return [thing for thing in all_in(window)
            if is_in(thing, Atspi.StateType.FOCUSABLE, Atspi.StateType.SHOWING)
            and thing.get_role() != Atspi.Role.TABLE_CELL]


def has_keyboard(window):
    """Once it does: keys that are typed before go elsewhere."""
    wait_for(lambda: is_in(window, Atspi.StateType.ACTIVE), f"the keyboard in {window.get_name()}")


def text_of(thing):
    return Atspi.Text.get_text(thing, 0, Atspi.Text.get_character_count(thing))


def keys(*names):
    subprocess.run(["xdotool", "key", "--clearmodifiers", "--delay", "40", *names], check=True)


class Reader:
    """Hears what programs have read out and the descriptions that change."""

    def __init__(self):
        self.heard = []
        self.listener = Atspi.EventListener.new(lambda event: self.heard.append((event.type, str(event.any_data))))
        for event in ("object:announcement", "object:property-change:accessible-description"):
            self.listener.register(event)

    def has_heard(self, words, event="object:announcement"):
        return any(words in said for kind, said in self.heard if kind.startswith(event))

    def close(self):
        for event in ("object:announcement", "object:property-change:accessible-description"):
            self.listener.deregister(event)


class Program:
    """The built program over a deck of its own."""

    def __init__(self, program, deck_tool, simulator, viewer, cards, environment=None):
        self.folder = tempfile.TemporaryDirectory()
        self.deck_tool = deck_tool
        self.deck = self.path("deck")
        subprocess.run([deck_tool, "create", self.deck, "--empty"], check=True, stdout=subprocess.DEVNULL)
        for kind, number, holder in cards:
            subprocess.run([deck_tool, "insert", self.deck, kind, "--serial", number, "--holder", holder,
                            "--name", number], check=True, stdout=subprocess.DEVNULL)
        for variable in ("HOME", "TMPDIR", "XDG_CONFIG_HOME"):
            pathlib.Path(self.path(variable)).mkdir()
        os.symlink(viewer, self.path("certViewerApp"))
        self.environment = dict(
            os.environ, HOME=self.path("HOME"), TMPDIR=self.path("TMPDIR"), XDG_CONFIG_HOME=self.path("XDG_CONFIG_HOME"),
            PATH=self.folder.name + ":" + os.environ["PATH"], ORSELSIM_DECK=self.deck,
            ORSELSIM_PIN_SCRIPT=self.path("pins"), LD_LIBRARY_PATH=simulator,
            **(environment or {}))
        self.answer_pins()
        self.errors = open(self.path("errors"), "w+")
        self.process = subprocess.Popen([program], env=self.environment, stderr=self.errors)

    def path(self, name):
        return os.path.join(self.folder.name, name)

    def answer_pins(self, *answers):
        pathlib.Path(self.path("pins")).write_text("".join(answer + "\n" for answer in answers))

    def card(self, number):
        return subprocess.run([self.deck_tool, "show", self.deck, number], check=True, capture_output=True,
                              text=True).stdout

    def slow_down(self, number, milliseconds):
        """Has each call that needs the card take longer, from now on."""
        subprocess.run([self.deck_tool, "set", self.deck, number, "--delay", str(milliseconds)], check=True,
                       stdout=subprocess.DEVNULL)

    def forget(self, number, label):
        """The card has no object of this name any more."""
        path = pathlib.Path(self.deck, number, "card.json")
        card = json.loads(path.read_text())
        card["objects"] = [thing for thing in card["objects"] if thing["label"] != label]
        path.write_text(json.dumps(card))

    def has_written(self, words):
        """To standard error, so far."""
        return words in pathlib.Path(self.path("errors")).read_text()

    def windows(self):
        desktop = Atspi.get_desktop(0)
        for i in range(desktop.get_child_count()):
            application = desktop.get_child_at_index(i)
            if application is not None and application.get_process_id() == self.process.pid:
                for j in range(application.get_child_count()):
                    yield application.get_child_at_index(j)

    def window(self, title):
        """The window whose title begins like this, once it is on the screen."""
        return wait_for(lambda: next((window for window in self.windows()
                                      if window.get_name().startswith(title) and is_in(window, Atspi.StateType.SHOWING)),
                                     None), f"window {title}")

    def is_gone(self, title):
        return wait_for(lambda: not any(window.get_name().startswith(title) and is_in(window, Atspi.StateType.SHOWING)
                                        for window in self.windows()), f"the end of window {title}")

    def leave(self, title):
        """Escape, once the window has the keyboard."""
        window = self.window(title)
        has_keyboard(window)
        keys("Escape")
        self.is_gone(title)

    def main_window(self):
        return self.window("Kartenverwaltung")

    def find(self, window, name, role=None):
        """What has this name in a window, once it is there and can be used."""
        return wait_for(lambda: next((thing for thing in all_in(window)
                                      if thing.get_name().startswith(name) and (role is None or thing.get_role() == role)
                                      and is_in(thing, Atspi.StateType.SHOWING, Atspi.StateType.SENSITIVE)), None), name)

    def press(self, window, name):
        """As the keyboard does: the bus is silent for as long as an action on it has a dialog open."""
        button = self.find(window, name, Atspi.Role.PUSH_BUTTON)
        wait_for(lambda: is_in(button, Atspi.StateType.FOCUSED) or Atspi.Component.grab_focus(button) is None, f"focus on {name}")
        keys("space")

    def act(self, window, name):
        """By the bus alone. There is no answer while the dialog that the button opens is there."""
        button = self.find(window, name, Atspi.Role.PUSH_BUTTON)
        try:
            Atspi.Action.do_action(button, 0)
        except GLib.Error:
            pass

    def end(self):
        """However the test went; more than once does no harm."""
        if self.process.poll() is None:
            self.process.terminate()
            self.process.wait()

    def close(self):
        """Ends the program. What it has written to standard error, without what is no fault of ours."""
        self.end()
        self.errors.seek(0)
        # GTK asks a notebook's page that is just going for the label that it no longer has. Nothing of ours is in it.
        written = [line for line in self.errors if line.strip() and "gtk_notebook_get_tab_label" not in line]
        self.errors.close()
        self.folder.cleanup()
        return "".join(written)
