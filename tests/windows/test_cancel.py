"""What the user thinks better of changes nothing."""

import unittest

from window import PROMPT, Journey, show

NUT = "Hexagon nut ISO 4032 M6"


class Cancel(Journey):

    def test_escape_ends_the_command_that_waits(self):
        document = self.document()
        before = document.read_bytes()
        window = self.open(document)
        window.choose(NUT, "Insert")
        window.find("label", PROMPT)
        window.click(window.find("tree", "Properties"))
        window.key("Escape")
        window.gone("label", PROMPT)
        window.wait_for("command", action="ended")
        window.close_box()
        window.check_end(self)
        self.assertEqual(before, document.read_bytes())

    def test_escape_in_the_page_ends_the_command_that_waits(self):
        window = self.open(self.document())
        window.choose(NUT, "Insert")
        window.find("label", PROMPT)
        window.key("Escape")
        window.gone("label", PROMPT)

    def test_the_tool_bar_ends_the_command_that_waits(self):
        window = self.open(self.document())
        window.choose(NUT, "Insert")
        window.find("label", PROMPT)
        window.click(window.find("push button", "Cancel command"))
        window.gone("label", PROMPT)

    def check_nothing_is_overwritten(self, refuse):
        mine = self.home / "parts" / "ISO4032_M6.ZALPart"
        mine.parent.mkdir()
        mine.write_bytes(b"mine")
        window = self.open()
        window.choose(NUT, "Download")
        window.find("push button", "Yes")
        refuse(window)
        window.gone("push button", "Yes")
        window.wait_for("dialog", name="OverwriteNotify", answer=4)
        self.assertEqual(b"mine", mine.read_bytes())
        window.check_goes_on(self)

    def test_escape_at_the_question_overwrites_nothing(self):
        self.check_nothing_is_overwritten(lambda window: window.key("Escape"))

    def test_enter_at_the_question_overwrites_nothing(self):
        self.check_nothing_is_overwritten(lambda window: window.key("Return"))

    def test_the_close_box_of_the_question_overwrites_nothing(self):
        self.check_nothing_is_overwritten(lambda window: window.close_box())


class Unsaved(Journey):

    def change(self):
        self.path = self.document()
        self.before = self.path.read_bytes()
        window = self.open(self.path)
        self.insert(window)
        window.close_main()
        window.find("push button", "Cancel")
        return window

    def test_cancel_keeps_the_window(self):
        window = self.change()
        window.click(window.find("push button", "Cancel"))
        window.gone("push button", "Cancel")
        window.tree_entry("ISO4032_M6.1")
        window.check_goes_on(self)

    def test_escape_keeps_the_window(self):
        window = self.change()
        window.key("Escape")
        window.gone("push button", "Cancel")
        window.check_goes_on(self)

    def test_discard_ends_without_saving(self):
        window = self.change()
        window.click(window.find("push button", "Discard"))
        window.check_end(self)
        self.assertEqual(self.before, self.path.read_bytes())

    def test_save_saves_and_ends(self):
        window = self.change()
        window.click(window.find("push button", "Save", inside=self.question(window)))
        window.check_end(self)
        self.assertIn("ISO4032_M6.1", show(self.path))

    def question(self, window):
        return window.find("alert", "Unsaved changes")


if __name__ == "__main__":
    unittest.main()
