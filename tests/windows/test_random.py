"""Whatever a user presses and clicks on, the window goes on until it ends, and leaves nothing."""

import os
import random
import signal
import unittest

from window import Journey

ACTIONS = 250
TOGETHER = 25  # that the display gets at once
KEYS = ["Tab", "shift+Tab", "Return", "Escape", "space", "Up", "Down", "Left", "Right", "Delete", "BackSpace", "Menu",
        "F5", "alt+f", "alt+e", "alt+v", "alt+c", "alt+h", "ctrl+z", "ctrl+shift+z", "ctrl+s", "ctrl+n", "ctrl+o",
        "ctrl+w", "ctrl+f", "ctrl+Tab", "ctrl+q", "plus", "minus", "f", "h", "i", "p", "y", "n", "0", "1", "6", "M"]
# Left, top, right, bottom: all of the window within its frame.
PLACE = (8, 62, 1270, 850)


def action(chance):
    """The words of xdotool for something that a user may do."""
    x, y = (chance.randint(PLACE[side], PLACE[side + 2]) for side in (0, 1))
    kind = chance.random()
    if kind < 0.35:
        return ["key", chance.choice(KEYS)]
    if kind < 0.75:
        return ["mousemove", x, y, "click", 1]
    if kind < 0.8:
        return ["mousemove", x, y, "click", "--repeat", 2, 1]
    if kind < 0.85:
        return ["mousemove", x, y, "click", 3]
    if kind < 0.92:
        return ["mousemove", x, y, "click", chance.choice((4, 5))]
    return ["mousemove", x, y, "mousedown", chance.choice((1, 3)), "mousemove_relative", "--",
            chance.randint(-90, 90), chance.randint(-60, 60), "mouseup", 1, "mouseup", 3]


class RandomActions(Journey):

    def act(self, first):
        """What WINDOW_SEED, a number, adds to the seed chooses others than those of every run."""
        seed = first + 4 * int(os.environ.get("WINDOW_SEED", "0"))
        chance = random.Random(seed)
        with self.subTest(seed=seed):
            window = self.open(self.document())
            for _ in range(ACTIONS // TOGETHER):
                if window.process.poll() is not None:
                    window.check_end(self)  # as the actions have asked for
                    window = self.open(self.document())
                window.display.use(*(word for _ in range(TOGETHER) for word in action(chance)))
            if window.process.poll() is None:
                window.process.send_signal(signal.SIGTERM)
            status = window.wait_for_end()
            self.assertIn(status, (0, 128 + signal.SIGTERM, -signal.SIGTERM))
            window.check_end(self, status)

    # A thousand actions in all.

    def test_break_nothing_with_a_first_seed(self):
        self.act(1)

    def test_break_nothing_with_a_second_seed(self):
        self.act(2)

    def test_break_nothing_with_a_third_seed(self):
        self.act(3)

    def test_break_nothing_with_a_fourth_seed(self):
        self.act(4)


if __name__ == "__main__":
    unittest.main()
