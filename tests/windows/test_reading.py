"""What screen readers and eyes make of the window."""

import collections
import unittest

from window import Journey, State

# What the user acts on; Qt and Chromium call the rest of what takes the input by roles of these, too.
ROLES = {"push button", "check box", "radio button", "text", "tree", "list", "list item", "table cell", "page tab list",
         "page tab", "combo box", "link", "heading", "panel", "section", "canvas", "image", "filler", "menu item",
         "document web", "toggle button", "scroll pane", "tree table", "static"}


def luminance(colour):
    parts = [part / 255 for part in colour]
    parts = [part / 12.92 if part <= 0.04045 else ((part + 0.055) / 1.055) ** 2.4 for part in parts]
    return 0.2126 * parts[0] + 0.7152 * parts[1] + 0.0722 * parts[2]


def contrast(pixels):
    """Of the colour that most pixels have and the one that differs most from it."""
    ground = luminance(collections.Counter(pixels).most_common(1)[0][0])
    return max((max(ground, other) + 0.05) / (min(ground, other) + 0.05) for other in map(luminance, set(pixels)))


class Reading(Journey):

    def check_names(self, window):
        for control in (*window.all(), *window.all(inside=window.page())):
            if not control.has(State.SHOWING, State.FOCUSABLE) or control.role in ("panel", "table cell"):
                continue
            self.assertIn(control.role, ROLES, control)
            self.assertTrue(control.name.strip(), f"{control} at {control.box} has no name")

    def test_whatever_takes_the_input_has_a_name(self):
        window = self.open(self.document())
        window.page_link("Hexagon nut ISO 4032 M6")
        self.check_names(window)

    def test_fields_of_windows_and_questions_have_names(self):
        window = self.open(self.document())
        window.page_link("Hexagon nut ISO 4032 M6")
        window.click(window.tree_entry("HOUSING_47.1"))
        window.menu("Edit", "Options...")
        window.find("dialog", "Options")
        self.check_names(window)
        window.key("Escape")
        window.gone("dialog", "Options")
        window.menu("Catalogue", "Find similar")
        window.find("push button", "Yes")
        self.check_names(window)

    def check_contrast(self, window):
        for control in (window.find("menu item", "File"), window.tree_entry("HOUSING_47.1"),
                        window.find("table cell", "Nomenclature"), window.find("push button", "Fit All")):
            self.assertGreaterEqual(contrast(window.display.pixels(*control.box)), 4.5, control)

    def test_texts_stand_out_in_light_and_dark(self):
        window = self.open(self.document())
        self.check_contrast(window)
        window.menu("View", "Colours", "Dark")
        tree = window.find("tree", "Product tree")
        left, top, width, height = tree.box
        window.until(lambda: luminance(window.display.pixels(left + width // 2, top + height - 20, 1, 1)[0]) < 0.1, "dark")
        self.check_contrast(window)


class Small(Journey):

    def check_reachable(self, window, width, height):
        for name in ("Cancel transfer", "Clear list", "Back", "Reload", "Home"):
            left, top, wide, high = window.find("push button", name).box
            self.assertTrue(left >= 0 and top >= 0 and left + wide <= width and top + high <= height,
                            f"{name} at {(left, top, wide, high)}")
        frame = window.find("frame", f"{self.root}.ZALProduct - Open host").box
        self.assertTrue(frame[0] + frame[2] <= width + 1 and frame[1] + frame[3] <= height + 1, frame)

    def test_a_small_screen_shows_all_parts_of_the_window(self):
        window = self.open(self.document(), size="1024x700")
        window.choose("Hexagon nut ISO 4032 M6", "Download")
        self.check_reachable(window, 1024, 700)

    def test_twice_the_scale_shows_all_parts_of_the_window(self):
        window = self.open(self.document(), size="2048x1400", environment={"QT_SCALE_FACTOR": "2"})
        window.page_link("Hexagon nut ISO 4032 M6")
        self.check_reachable(window, 2048, 1400)


if __name__ == "__main__":
    unittest.main()
