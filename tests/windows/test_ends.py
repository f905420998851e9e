"""The window ends in whatever state it is, and leaves nothing."""

import signal
import unittest

from front import Front
from window import PROMPT, Journey

NUT = "Hexagon nut ISO 4032 M6"


class End(Journey):

    def slow(self, *paths, documents=()):
        front = Front(*paths)
        self.addCleanup(front.close)
        window = self.open(*documents, arguments=["--catalogue", front.address])
        window.asked = front.asked
        return window

    def question(self):
        mine = self.home / "parts" / "ISO4032_M6.ZALPart"
        mine.parent.mkdir(exist_ok=True)
        mine.write_bytes(b"mine")
        window = self.open()
        window.choose(NUT, "Download")
        window.find("push button", "Yes")
        return window, mine

    def running(self):
        window = self.slow("/files/hexagon-nut-m6.zip")
        window.choose(NUT, "Download")
        window.until(lambda: window.find("push button", "Cancel transfer").is_enabled, "a transfer runs")
        return window

    def end(self, window):
        window.close_main()
        window.check_end(self)

    def terminate(self, window, sign=signal.SIGTERM):
        window.process.send_signal(sign)
        status = window.wait_for_end()
        self.assertIn(status, (0, -sign, 128 + sign))
        window.check_end(self, status)

    def test_at_once(self):
        self.end(self.open(self.document()))

    def test_while_a_command_waits(self):
        window = self.open(self.document())
        window.choose(NUT, "Insert")
        window.find("label", PROMPT)
        self.end(window)

    def test_after_a_question_was_closed(self):
        window, mine = self.question()
        window.key("Escape")
        window.gone("push button", "Yes")
        window.key("Escape")
        window.click(window.find("push button", "OK", inside=window.find("dialog", "Open host")))
        window.gone("push button", "OK")
        self.end(window)
        self.assertEqual(b"mine", mine.read_bytes())

    def test_while_a_transfer_runs(self):
        window = self.running()
        self.end(window)
        self.assertEqual([], list(window.parts.iterdir()))

    def test_while_the_page_loads(self):
        window = self.slow("/page/catalogue.js")
        window.until(window.asked.is_set, "the page loads")
        self.end(window)

    def test_while_shapes_are_computed(self):
        self.item, self.root = "profile-frame-480", "FRAME_480x480x400"
        document = self.document()
        window = self.open(document)
        window.until(lambda: [name for name in window.left_processes() if "openhost-geomet" in name], "a shape is computed")
        self.end(window)

    def test_by_a_signal(self):
        window = self.open(self.document())
        window.page_link(NUT)
        self.terminate(window)

    def test_by_an_interrupt(self):
        self.terminate(self.open(self.document()), signal.SIGINT)

    def test_by_a_signal_at_a_question(self):
        window, mine = self.question()
        self.terminate(window)
        self.assertEqual(b"mine", mine.read_bytes())

    def test_by_a_signal_while_a_transfer_runs(self):
        window = self.running()
        self.terminate(window)
        self.assertEqual([], list(window.parts.iterdir()))

    def test_by_a_signal_with_unsaved_changes(self):
        document = self.document()
        before = document.read_bytes()
        window = self.open(document)
        self.insert(window)
        self.terminate(window)
        self.assertEqual(before, document.read_bytes())


if __name__ == "__main__":
    unittest.main()
