#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Somebody who cannot see the screen works with the built program: every command and every result comes over the
accessibility bus.
  accessibility_test.py PROGRAM DECK_TOOL FOLDER_OF_TOKEN_LIBRARY VIEWER"""
import collections
import sys
import unittest

from Reader import Atspi, Program, Reader, all_in, focusable_in, has_keyboard, is_in, keys, text_of, wait_for

PROGRAM, DECK_TOOL, SIMULATOR, VIEWER = sys.argv[1:5]
FIRST = ("acos-a03", "0401270843567891", "Jörg Weißenböck")
SECOND = ("acos-a04", "0512380917624502", "Käthe Grünbichler")


class SomebodyWhoCannotSee(unittest.TestCase):
    def setUp(self):
        self.reader = Reader()
        self.program = Program(PROGRAM, DECK_TOOL, SIMULATOR, VIEWER, [FIRST, SECOND])
        self.window = self.program.main_window()
        self.list = wait_for(lambda: next((thing for thing in all_in(self.window)
                                           if thing.get_name() == "Karten: 2"), None), "the list of cards")
        wait_for(lambda: is_in(self.list, Atspi.StateType.SENSITIVE), "the list to be enabled")
        self.program.is_gone("Bitte warten")
        has_keyboard(self.window)

    def tearDown(self):
        self.reader.close()
        self.assertEqual(self.program.close(), "")

    def select(self, card):
        """By the arrow keys, until the list says this card's number."""
        wait_for(lambda: Atspi.Component.grab_focus(self.list) or is_in(self.list, Atspi.StateType.FOCUSED), "the focus")
        for key, row in (("Home", "Zeile 1"), ("Down", "Zeile 2")):
            if not self.list.get_description().startswith(card[1]):
                keys(key)
                wait_for(lambda: row in self.list.get_description(), row)
        self.assertIn(card[1], self.list.get_description())

    def hears(self, words):
        wait_for(lambda: self.reader.has_heard(words), f"somebody to say {words}")

    def press(self, name):
        self.program.press(self.window, name)

    def names_in(self, window):
        return [thing.get_name() for thing in focusable_in(window)]

    def expect_names(self, window):
        names = self.names_in(window)
        self.assertNotIn("", names)
        self.assertEqual([name for name, count in collections.Counter(names).items() if count > 1], [])
        self.assertGreater(len(names), 0)

    # --- Cards -------------------------------------------------------------------------------------------------

    def test_finds_every_control_by_a_name_of_its_own(self):
        self.expect_names(self.window)
        self.assertIn("Zertifikat anzeigen, Signaturzertifikat", self.names_in(self.window))
        self.assertIn("Karten neu einlesen", self.names_in(self.window))
        self.select(SECOND)
        self.press("Signatur testen, Signaturzertifikat")
        dialog = self.program.window("Unterschriftentest")
        self.expect_names(dialog)
        self.program.leave("Unterschriftentest")
        self.press("Infobox anzeigen")
        self.expect_names(self.infobox())
        self.program.leave("Infoboxbereich")

    def test_hears_which_card_is_selected(self):
        self.select(FIRST)
        self.assertEqual(self.list.get_description(),
                         "0401270843567891, Jörg Weißenböck, Orsel Carta ACOS 03, Zeile 2 von 2")
        self.hears("0401270843567891, Jörg Weißenböck, Orsel Carta ACOS 03")
        self.select(SECOND)
        self.hears("0512380917624502, Käthe Grünbichler, Orsel Carta ACOS 04")

    def test_hears_that_the_cards_are_being_read(self):
        self.select(FIRST)  # the window has the keyboard
        self.reader.heard.clear()
        keys("F5")
        self.hears("Bitte warten...")
        self.program.is_gone("Bitte warten")
        self.hears(SECOND[1])

    # --- PINs --------------------------------------------------------------------------------------------------

    def status(self):
        """The line that tells the result, while it is on the screen."""
        return next((thing.get_name() for thing in all_in(self.window)
                     if thing.get_role() == Atspi.Role.NOTIFICATION and is_in(thing, Atspi.StateType.SHOWING)), None)

    def test_changes_a_pin(self):
        self.select(SECOND)
        self.program.answer_pins("123456", "654321", "654321", "cancel")
        self.press("6 stellige PIN ändern, Signaturzertifikat")
        self.hears("PIN Änderung erfolgreich!")
        self.assertEqual(self.status(), "PIN Änderung erfolgreich!")
        self.press("6 stellige PIN ändern, Signaturzertifikat")
        self.hears("Abbruch durch Benutzer")

    def test_blocks_a_pin_and_unblocks_it(self):
        self.select(SECOND)
        self.program.answer_pins(*["0000", "4321", "4321"] * 3, "12345678", "4321", "4321")
        for result in ("PIN falsch!", "PIN falsch!", "PIN Gesperrt"):
            self.reader.heard.clear()
            self.press("4 stellige PIN ändern, Geheimhaltungszertifikat")
            self.hears(f"Fehler beim PIN Ändern! {result}")
        self.assertIn("blocked", self.program.card(SECOND[1]))
        self.press("4 stellige PIN entsperren, Geheimhaltungszertifikat")
        self.hears("PIN Entsperren erfolgreich!")
        self.assertNotIn("blocked", self.program.card(SECOND[1]))

    # --- Signatures --------------------------------------------------------------------------------------------

    def test_signs_and_verifies(self):
        self.select(SECOND)
        self.program.answer_pins("123456")
        self.press("Signatur testen, Signaturzertifikat")
        dialog = self.program.window("Unterschriftentest")
        self.assertIn("Das ist ein Test!", text_of(self.program.find(dialog, "Zu signierender Text")))
        self.program.press(dialog, "Unterschreiben")
        self.hears("Signatur erfolgreich!")
        self.assertGreater(len(text_of(self.program.find(dialog, "Signatur in Base64", Atspi.Role.TEXT))), 40)
        self.program.press(dialog, "Prüfen")
        self.hears("Signaturprüfung erfolgreich!")
        self.program.press(dialog, "Dialog schließen")
        self.program.is_gone("Unterschriftentest")
        wait_for(lambda: is_in(self.list, Atspi.StateType.FOCUSED), "the keyboard to be in the list again")
        keys("shift+F8")
        self.infobox()
        self.program.leave("Infoboxbereich")

    # --- Certificates ------------------------------------------------------------------------------------------

    def test_reads_a_certificate_in_the_viewer(self):
        self.select(SECOND)
        self.press("Zertifikat anzeigen, Signaturzertifikat")
        desktop = Atspi.get_desktop(0)
        viewer = wait_for(lambda: next((window for i in range(desktop.get_child_count())
                                        for window in [desktop.get_child_at_index(i).get_child_at_index(0)]
                                        if window.get_name() == "Käthe Grünbichler – Zertifikat"), None), "the viewer")
        self.expect_names(viewer)
        fields = wait_for(lambda: next((thing for thing in all_in(viewer)
                                        if thing.get_name().startswith("Felder: ")), None), "the fields")
        has_keyboard(viewer)
        keys("Down")
        wait_for(lambda: ": " in fields.get_description(), "a field in words")
        keys("Escape")

    # --- Infobox -----------------------------------------------------------------------------------------------

    def infobox(self):
        """The dialog, once the card has been read: it takes no key before."""
        dialog = self.program.window("Infoboxbereich")
        self.program.find(dialog, "01 PERSONENBINDUNG")
        self.program.find(dialog, "Schließen")
        has_keyboard(dialog)
        return dialog

    def open_entry(self, dialog):
        row = self.program.find(dialog, "01 PERSONENBINDUNG")
        rows = self.program.find(dialog, "Einträge")
        wait_for(lambda: Atspi.Component.grab_focus(rows) or is_in(rows, Atspi.StateType.FOCUSED), "the focus")
        keys("Home", "space")
        wait_for(lambda: is_in(row, Atspi.StateType.SELECTED), "the row to be selected")
        content = self.program.find(dialog, "Inhalt", Atspi.Role.TEXT)
        return wait_for(lambda: text_of(content), "the identity link")

    def test_reads_the_infobox_and_toggles_the_protection(self):
        self.select(SECOND)
        self.press("Infobox anzeigen, Infoboxbereich")
        dialog = self.infobox()
        self.assertIn("Nachname: Grünbichler", self.open_entry(dialog))
        before = self.program.card(SECOND[1])
        self.program.press(dialog, "verschlüsselt speichern")
        wait_for(lambda: self.program.card(SECOND[1]) != before, "the card to change")
        self.program.answer_pins("1234")
        self.open_entry(dialog)
        self.program.find(dialog, "unverschlüsselt speichern")
        keys("F6")
        wait_for(lambda: self.program.card(SECOND[1]) == before, "the card to be as before")
        self.program.press(dialog, "Schließen")
        self.program.is_gone("Infoboxbereich")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v", *sys.argv[5:]])
