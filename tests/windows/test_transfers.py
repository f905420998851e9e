"""The list of transfers."""

import unittest

from front import Front
from window import Journey

NUT = "Hexagon nut ISO 4032 M6"


class Transfers(Journey):

    def texts(self, window):
        return [cell.name for cell in window.all("table cell", inside=window.find("tree", "Transfers"), hidden=True)]

    def slow(self, *documents):
        front = Front("/files/hexagon-nut-m6.zip")
        self.addCleanup(front.close)
        window = self.open(*documents, arguments=["--catalogue", front.address])
        return front, window

    def test_an_entry_has_name_bytes_result_and_folder(self):
        window = self.open()
        window.choose(NUT, "Download")
        window.until(lambda: "done" in self.texts(window), "the transfer is done")
        window.until(lambda: str(window.parts) in self.texts(window), "the folder of the files")
        name, _, size, speed, _, result, _ = self.texts(window)
        self.assertEqual("hexagon-nut-m6.zip", name)
        self.assertRegex(size, r"^[0-9.]+ kB$")
        self.assertRegex(speed, r"/s$")
        self.assertEqual("done", result)

    def test_a_slow_transfer_shows_how_far_it_is(self):
        front, window = self.slow()
        window.choose(NUT, "Download")
        window.until(lambda: "running" in self.texts(window), "the transfer runs")
        window.until(lambda: any(" of " in text for text in self.texts(window)), "bytes of how many")
        front.go.set()
        window.until(lambda: "done" in self.texts(window), "the transfer is done")
        self.assertTrue((window.parts / "ISO4032_M6.ZALPart").exists())

    def test_a_cancelled_transfer_leaves_nothing(self):
        _, window = self.slow()
        window.choose(NUT, "Download")
        window.click(window.find("push button", "Cancel transfer"))
        window.until(lambda: "cancelled" in self.texts(window), "the transfer is cancelled")
        window.click(window.find("push button", "OK"))
        window.until(lambda: not window.find("push button", "Cancel transfer").is_enabled, "nothing is left to cancel")
        self.assertEqual([], list(window.parts.iterdir()))
        window.click(window.find("push button", "Clear list"))
        window.until(lambda: not self.texts(window), "the list is empty")
        window.close_box()
        window.check_end(self)

    def test_a_cancelled_insertion_changes_nothing(self):
        document = self.document()
        before = document.read_bytes()
        _, window = self.slow(document)
        self.pick(window, NUT, "Insert", self.root)
        window.click(window.find("push button", "Cancel transfer"))
        window.until(lambda: "cancelled" in self.texts(window), "the transfer is cancelled")
        window.click(window.find("push button", "OK"))
        window.wait_for("command", action="cancelled")
        window.find("frame", f"{self.root}.ZALProduct - Open host")
        window.close_main()
        window.check_end(self)
        self.assertEqual(before, document.read_bytes())


if __name__ == "__main__":
    unittest.main()
