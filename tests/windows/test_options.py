"""Options, language and colours."""

import json
import unittest

from window import Journey


class Options(Journey):

    def begin(self):
        (self.home / "other").mkdir()
        return self.open(downloads=False)

    def show(self, window):
        window.menu("Edit", "Options...")
        window.find("dialog", "Options")

    def field(self, window):
        return window.find("text", "Download folder:")

    def choose_folder(self, window):
        window.click(window.find("push button", "Browse..."))
        window.find("push button", "Choose")
        window.click(window.find("text", "Directory:"))
        window.type(str(self.home / "other"))
        window.key("Return")
        window.gone("push button", "Choose")

    def set_folder(self, window):
        self.choose_folder(window)
        window.until(lambda: self.field(window).text == str(self.home / "other"), "the folder in its field")

    def end(self, window, button):
        window.click(window.find("push button", button, inside=window.find("dialog", "Options")))

    def test_ok_keeps_the_folder_for_the_next_run(self):
        window = self.begin()
        self.show(window)
        self.set_folder(window)
        self.end(window, "OK")
        window.gone("dialog", "Options")
        window.close_box()
        window.check_end(self)
        settings = json.loads((self.home / ".config" / "openhost" / "settings.json").read_text())
        self.assertIn(str(self.home / "other"), json.dumps(settings))
        again = self.open(downloads=False)
        self.show(again)
        self.assertEqual(str(self.home / "other"), self.field(again).text)

    def test_cancel_restores_the_folder(self):
        window = self.begin()
        self.show(window)
        before = self.field(window).text
        self.set_folder(window)
        self.end(window, "Cancel")
        window.gone("dialog", "Options")
        self.show(window)
        self.assertEqual(before, self.field(window).text)

    def test_reset_goes_back(self):
        window = self.begin()
        self.show(window)
        before = self.field(window).text
        self.set_folder(window)
        self.end(window, "Reset")
        window.until(lambda: self.field(window).text == before, "the folder of before")

    def test_a_folder_that_is_asked_for_takes_the_download(self):
        window = self.begin()
        window.choose("Hexagon nut ISO 4032 M6", "Download")
        window.find("text", "Folder:")
        self.choose_folder(window)
        window.click(window.find("push button", "OK"))
        window.until((self.home / "other" / "ISO4032_M6.ZALPart").exists, "the file in the folder")


class Language(Journey):

    def test_german_changes_menus_page_and_questions_at_once(self):
        window = self.open(self.document())
        window.page_link("Hexagon nut ISO 4032 M6")
        english = {item.name for item in window.all("menu item", hidden=True)}
        window.menu("View", "Language", "Deutsch")
        window.find("menu item", "Datei")
        window.find_in_page("heading", "Alle Artikel")
        window.find("frame", "Produktbaum")
        window.find("filler", "3D-Ansicht des Produkts")
        same = {"English", "Deutsch"} | {name for name in english if "/" in name or not name
                                        or name.startswith("Aluminium")}
        self.assertEqual(set(), english & {item.name for item in window.all("menu item", hidden=True)} - same)
        window.click(window.tree_entry("HOUSING_47.1"))
        window.menu("Katalog", "Ähnliche suchen")
        window.find("push button", "Ja")
        window.key("Escape")
        window.click(window.find("push button", "OK"))
        window.gone("push button", "OK")
        window.menu("Ansicht", "Sprache", "English")
        window.find("menu item", "File")
        window.find_in_page("heading", "All items")
        self.assertEqual(set(), english - {item.name for item in window.all("menu item", hidden=True)})

    def test_a_language_is_kept(self):
        window = self.open(language=None)
        window.menu("View", "Language", "Deutsch")
        window.find("menu item", "Datei")
        window.close_box()
        window.check_end(self)
        again = self.open(language=None)
        again.find("menu item", "Datei")


class Colours(Journey):

    def brightness(self, window, control):
        left, top, width, height = control.box
        pixels = window.display.pixels(left + width // 2, top + height // 2, width // 4, height // 4)
        return sum(sum(pixel) for pixel in pixels) / len(pixels) / 3

    def test_dark_and_light_change_at_once(self):
        window = self.open(self.document())
        tree = window.find("tree", "Product tree")
        self.assertLess(200, self.brightness(window, tree))
        window.menu("View", "Colours", "Dark")
        window.until(lambda: self.brightness(window, tree) < 60, "a dark tree")
        window.until(lambda: self.brightness(window, window.find("filler", "3D view of the product")) < 150, "a dark view")
        page = window.find("filler", "catalogue")
        window.until(lambda: self.brightness(window, page) < 120, "a dark page")
        window.menu("View", "Colours", "Light")
        window.until(lambda: self.brightness(window, tree) > 200, "a light tree")
        window.until(lambda: self.brightness(window, page) > 200, "a light page")

    def test_dark_is_kept(self):
        window = self.open()
        window.menu("View", "Colours", "Dark")
        window.until(lambda: self.brightness(window, window.find("tree", "Product tree")) < 60, "a dark tree")
        window.close_box()
        window.check_end(self)
        again = self.open()
        again.until(lambda: self.brightness(again, again.find("tree", "Product tree")) < 60, "a dark tree")


if __name__ == "__main__":
    unittest.main()
