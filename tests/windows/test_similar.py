"""Similar parts are searched for from the menu."""

import unittest

from window import Journey, re


class Similar(Journey):

    def ask(self):
        window = self.open(self.document())
        window.page_link("Hexagon nut ISO 4032 M6")
        window.click(window.tree_entry("HOUSING_47.1"))
        window.menu("Catalogue", "Find similar")
        return window

    def test_yes_shows_the_results_in_the_page(self):
        window = self.ask()
        window.click(window.find("push button", "Yes"))
        window.find_in_page("heading", "Similar shapes")
        window.click_in_page("link", re.compile("^Bearing housing 47 "))
        window.find_in_page("heading", "Bearing housing 47")

    def test_no_sends_nothing(self):
        window = self.ask()
        window.click(window.find("push button", "No"))
        window.click(window.find("push button", "OK"))
        window.wait_for("command", command="ZALVelmartFindSimilarCmd", action="ended")
        self.assertEqual([], [event for event in window.events("request") if event["method"] == "POST"])
        window.check_goes_on(self)


if __name__ == "__main__":
    unittest.main()
