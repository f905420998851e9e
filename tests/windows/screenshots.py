"""Pictures of the main states of the window, by tools/screenshots."""

import os
import unittest
from pathlib import Path

from window import PROMPT, Journey


class Screenshots(Journey):

    def test_main_states(self):
        def picture(name):
            # What is drawn comes to rest.
            last = []

            def rests():
                last.append(window.display.pixels(0, 0, 1280, 820))
                return len(last) > 1 and last[-1] == last[-2]

            window.until(rests, "the window rests")
            window.display.picture(Path(os.environ["SCREENSHOTS"]) / f"{name}.png")

        window = self.open(self.document(), size="1284x826", downloads=False)
        window.page_link("Hexagon nut ISO 4032 M6")
        picture("start")
        window.choose("Hexagon nut ISO 4032 M6", "Insert")
        window.find("label", PROMPT)
        picture("picking")
        window.click(window.find("push button", "Cancel command"))
        window.gone("label", PROMPT)
        window.click(window.tree_entry("HOUSING_47.1"))
        window.menu("Catalogue", "Find similar")
        window.find("push button", "Yes")
        picture("question")
        window.click(window.find("push button", "Yes"))
        window.find_in_page("heading", "Similar shapes")
        window.menu("Edit", "Options...")
        window.find("dialog", "Options")
        picture("options")
        window.key("Escape")
        window.gone("dialog", "Options")
        window.menu("View", "Language", "Deutsch")
        window.find("menu item", "Datei")
        picture("german")
        window.menu("Ansicht", "Farben", "Dunkel")
        picture("dark")


if __name__ == "__main__":
    unittest.main()
