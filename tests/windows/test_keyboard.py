"""Everything by keys alone."""

import unittest

from window import Journey, State, show


class Keyboard(Journey):

    def open_by_keys(self, window, path):
        window.key("ctrl+o")
        window.find("dialog", "Open")
        window.type(str(path))
        window.key("Return")
        window.wait_for("document", path=str(path), action="opened")
        window.gone("dialog", "Open")

    def is_current(self, window, name):
        entry = window.tree_entry(name)
        return entry.has(State.SELECTED) or entry.has(State.FOCUSED)

    def test_opens_a_document_by_its_path(self):
        document = self.document()
        window = self.open()
        self.open_by_keys(window, document)
        window.find("frame", f"{self.root}.ZALProduct - Open host")

    def test_walks_the_tree(self):
        window = self.open(self.document())
        window.key("ctrl+shift+f")
        window.key("Down", "Home", "Down", "Down")
        window.until(lambda: self.is_current(window, "ISO15_6204.1"), "the second component is current")
        window.find("table cell", "Part number: ISO15_6204")
        window.key("End", "Right")
        window.until(lambda: "ISO4032_M8.1" in window.entries(), "the last component is open")

    def test_searches_the_tree(self):
        window = self.open(self.document())
        window.key("ctrl+shift+f")
        window.type("shaft")
        window.until(lambda: self.is_current(window, "SHAFT_20x154.1"), "the shaft is current")
        window.find("table cell", "Part number: SHAFT_20x154")

    def test_inserts_saves_and_quits(self):
        document = self.document()
        window = self.open(document)
        window.page_link("Hexagon nut ISO 4032 M6")
        window.key("ctrl+k")
        self.tab_to(window, "text", "Search items by name or size")
        window.type("nut iso 4032 m6")
        self.tab_to(window, "link", "Hexagon nut ISO 4032 M6")
        window.key("Return")
        self.tab_to(window, "push button", "Insert")
        window.key("Return")
        window.wait_for("prompt")
        window.key("ctrl+shift+f")
        window.key("Down", "Home", "Return")
        window.tree_entry("ISO4032_M6.1")
        window.key("ctrl+z")
        window.until(lambda: "ISO4032_M6.1" not in window.entries(), "the nut is gone")
        window.key("ctrl+shift+z")
        window.tree_entry("ISO4032_M6.1")
        window.key("ctrl+s")
        window.wait_for("document", action="saved")
        window.key("ctrl+q")
        window.check_end(self)
        self.assertIn("ISO4032_M6.1", show(document))

    def tab_to(self, window, role, name):
        def has_input():
            wanted = [found for found in window.all(role, inside=window.page()) if found.name.startswith(name)]
            if any(found.has(State.FOCUSED) for found in wanted):
                return True
            window.key("Tab")
            return False

        window.until(has_input, f"Tab leads to {role} {name}")

    def check_switch(self, keys, back):
        document = self.document()
        other = document.parent / "BOLTED_JOINT_M8.ZALProduct"
        window = self.open(document, other)
        window.find("frame", "BOLTED_JOINT_M8.ZALProduct - Open host")
        window.key(*keys)
        window.find("frame", f"{self.root}.ZALProduct - Open host")
        window.tree_entry("HOUSING_47.1")
        window.key(*back)
        window.find("frame", "BOLTED_JOINT_M8.ZALProduct - Open host")

    def test_switches_between_documents(self):
        self.check_switch(["ctrl+Tab"], ["ctrl+shift+Tab"])

    def test_closes_a_document(self):
        document = self.document()
        window = self.open(document, document.parent / "BOLTED_JOINT_M8.ZALProduct")
        window.find("frame", "BOLTED_JOINT_M8.ZALProduct - Open host")
        window.key("ctrl+w")
        window.find("frame", f"{self.root}.ZALProduct - Open host")

    def test_the_menus_open_and_close(self):
        window = self.open(self.document())
        window.key("alt+f")
        window.until(lambda: any(item.is_showing for item in window.all("menu item", "Quit")), "the menu is open")
        window.key("Escape", "Escape")
        window.key("ctrl+shift+f")
        window.until(lambda: window.find("text", "Search the tree").has(State.FOCUSED), "the search has the input")


if __name__ == "__main__":
    unittest.main()
