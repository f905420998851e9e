"""Components are replaced by mouse, and the changes taken back by keys."""

import unittest

from window import PROMPT, Journey

BOLT = "Hexagon bolt ISO 4014 M6x30"
JOINTS = [f"BOLTED_JOINT_M8.{number}" for number in range(1, 5)]


class Replace(Journey):

    def replace(self, window, answer):
        self.pick(window, BOLT, "Replace", JOINTS[0])
        window.click(window.find("push button", answer))
        window.wait_for("dialog", name="ReplaceAllPopUp")

    def joints(self, window):
        return [name for name in window.entries() if name in JOINTS]

    def bolts(self, window):
        return [name for name in window.entries() if name.startswith("ISO4014_M6x30")]

    def test_yes_replaces_all_instances(self):
        window = self.open(self.document())
        self.replace(window, "Yes")
        window.until(lambda: len(self.bolts(window)) == 4, "four bolts in the tree")
        self.assertEqual([], self.joints(window))

    def test_no_replaces_the_picked_instance_alone(self):
        window = self.open(self.document())
        self.replace(window, "No")
        window.until(lambda: len(self.bolts(window)) == 1, "a bolt in the tree")
        self.assertEqual(JOINTS[1:], self.joints(window))

    def test_undo_and_redo_by_keys_go_back_and_forth(self):
        window = self.open(self.document())
        self.replace(window, "Yes")
        window.until(lambda: len(self.bolts(window)) == 4, "four bolts in the tree")
        window.key("ctrl+z")
        window.until(lambda: self.joints(window) == JOINTS and not self.bolts(window), "the joints are back")
        window.find("frame", f"{self.root}.ZALProduct - Open host")
        window.key("ctrl+shift+z")
        window.until(lambda: len(self.bolts(window)) == 4, "the bolts are back")
        window.find("frame", f"{self.root}.ZALProduct* - Open host")

    def test_a_click_into_the_view_picks_the_part_there(self):
        window = self.open(self.document())
        view = window.find("filler", "3D view of the product")
        left, top, width, height = view.box
        x, y = left + width * 36 // 100, top + height * 42 // 100
        background = window.display.pixels(left + width // 10, y, 1, 1)
        window.until(lambda: window.display.pixels(x, y, 1, 1) != background, "the product is drawn")
        window.choose(BOLT, "Replace")
        window.find("label", PROMPT)
        window.click_at(x, y)
        window.wait_for("selection", element=f"{self.root}/HOUSING_47.1", accepted=True)
        window.click(window.find("push button", "No"))
        window.until(lambda: self.bolts(window) and "HOUSING_47.1" not in window.entries(), "the bolt in its place")


if __name__ == "__main__":
    unittest.main()
