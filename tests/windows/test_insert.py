"""Items come into a product by mouse."""

import re
import subprocess
import unittest

from window import CATALOGUE, OPENHOST, Journey, show, unpack


class Insert(Journey):

    def test_inserts_by_mouse_what_the_page_offers(self):
        document = self.document()
        before = show(document)
        window = self.open(document)
        self.insert(window)
        window.find("frame", f"{self.root}.ZALProduct* - Open host")
        window.key("ctrl+s")
        window.wait_for("document", action="saved")
        window.find("frame", f"{self.root}.ZALProduct - Open host")
        window.close_box()
        window.check_end(self)
        self.assertNotEqual(before, show(document))
        self.assertIn("ISO4032_M6.1", show(document))

    def test_a_record_plays_again_without_a_display(self):
        document = self.document()
        window = self.open(document)
        self.insert(window)
        window.key("ctrl+s")
        window.wait_for("document", action="saved")
        window.close_box()
        window.check_end(self)

        again = self.home / "again"
        unpack(self.item, again)
        with subprocess.Popen([CATALOGUE, "serve"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True) as own:
            try:
                address = re.search(r"http://[^\s/]+", own.stdout.readline()).group()
                played = subprocess.run([OPENHOST, "play", window.record, "--set", f"BASE={address}", "--set",
                                         f"PARTS={again}"], capture_output=True, text=True, timeout=60)
            finally:
                own.terminate()
        self.assertEqual(0, played.returncode, played.stdout[-2000:] + played.stderr)
        for file in document.parent.glob("*.ZALP*"):
            self.assertEqual(show(file), show(again / file.name), file.name)


if __name__ == "__main__":
    unittest.main()
