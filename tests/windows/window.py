"""The main window in an X server of its own, used by mouse and keys and read as assistive technology reads it."""

import contextlib
import faulthandler
import functools
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
import zipfile
from pathlib import Path

BUILD = Path(os.environ.get("OPENHOST_BUILD") or Path(__file__).resolve().parents[2] / "build" / "release")
OPENHOST = BUILD / "bin" / "openhost"
CATALOGUE = BUILD / "bin" / "velmart-catalogue"
ITEM_FILES = BUILD / "items" / "files"

# A busy machine takes long for a browser.
PATIENCE = 25
POLL = 0.05
# What is started ends with the test, even one that was killed.
TOGETHER = ("setpriv", "--pdeathsig", "KILL", "--")

# Before ctest ends it, so that one sees where it hangs.
faulthandler.dump_traceback_later(int(os.environ.get("WINDOW_LIMIT", "110")), exit=True)

for needed in ("Xvfb", "openbox", "xdotool", "import", "dbus-run-session", "setpriv"):
    if not shutil.which(needed):
        sys.exit(f"{needed} is missing; tools/packages-test names the packages")
if not os.environ.get("DBUS_SESSION_BUS_ADDRESS"):
    sys.exit("no session bus: tests/windows/run starts a test with its own")
os.environ["NO_AT_BRIDGE"] = "1"

import gi  # noqa: E402

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

State = Atspi.StateType
# In the languages of the window.
TREE = re.compile("^(Product tree|Produktbaum)$")
# What the status line says while a command waits for an element.
PROMPT = re.compile("Escape cancels")


def until(condition, what, seconds=PATIENCE, alive=None):
    """What `condition` gives once it is true; fails with `what` when that does not come."""
    end = time.monotonic() + seconds
    while True:
        begun = time.monotonic()
        with contextlib.suppress(GLib.Error):
            if found := condition():
                return found
        if alive and alive.poll() is not None:
            raise AssertionError(f"the program ended with {alive.returncode} before {what}")
        if time.monotonic() > end:
            raise AssertionError(f"not within {seconds} s: {what}")
        # Whatever is asked keeps the window from its work: for half of the time at most.
        time.sleep(max(POLL, time.monotonic() - begun))


def unpack(item, folder):
    """The files of an item of the catalogue, in `folder`."""
    with zipfile.ZipFile(ITEM_FILES / f"{item}.zip") as archive:
        archive.extractall(folder)


def show(document):
    """What the document holds, without the place that it lies in."""
    shown = subprocess.run([OPENHOST, "show", document], capture_output=True, text=True, check=True).stdout
    return shown.replace(str(Path(document).parent), "FOLDER")


class Control:
    """Something in the window, as assistive technology sees it."""

    def __init__(self, accessible):
        self.accessible = accessible

    @property
    def name(self):
        return self.accessible.get_name() or ""

    @functools.cached_property
    def role(self):
        return self.accessible.get_role_name()

    @property
    def text(self):
        text = self.accessible.get_text_iface()
        return Atspi.Text.get_text(text, 0, Atspi.Text.get_character_count(text)) if text else ""

    def has(self, *states):
        mine = self.accessible.get_state_set()
        return all(mine.contains(state) for state in states)

    @property
    def is_showing(self):
        return self.has(State.SHOWING)

    @property
    def is_enabled(self):
        return self.has(State.ENABLED) or self.has(State.SENSITIVE)

    @property
    def box(self):
        """Left, top, width, height on the screen."""
        found = self.accessible.get_component_iface().get_extents(Atspi.CoordType.SCREEN)
        return found.x, found.y, found.width, found.height

    def children(self):
        for index in range(self.accessible.get_child_count()):
            child = self.accessible.get_child_at_index(index)
            if child:
                yield Control(child)

    def below(self, hidden=False):
        """Everything below it that shows, and all with `hidden`; of a page within it nothing but the page itself."""
        for child in self.children():
            with contextlib.suppress(GLib.Error):
                if hidden or child.is_showing or child.role in ("menu bar", "menu"):
                    yield child
                    if child.role != "document web":
                        yield from child.below(hidden)

    def __repr__(self):
        return f"{self.role} \"{self.name}\""


class Display:
    """An X server with a window manager."""

    def __init__(self, size="1280x900"):
        read, write = os.pipe()
        self.server = subprocess.Popen([*TOGETHER, "Xvfb", "-displayfd", str(write), "-screen", "0", f"{size}x24", "-noreset",
                                        "-nolisten", "tcp"], pass_fds=[write], stdout=subprocess.DEVNULL,
                                       stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as answer:
            number = answer.readline().strip()
        if not number:
            raise AssertionError("Xvfb has not started")
        self.name = f":{number}"
        self.environment = {**os.environ, "DISPLAY": self.name}
        self.manager = subprocess.Popen([*TOGETHER, "openbox", "--sm-disable"], env=self.environment, stderr=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL)

    def close(self):
        for process in (self.manager, self.server):
            process.terminate()
            process.wait()

    def use(self, *words):
        subprocess.run(["xdotool", *map(str, words)], env=self.environment, check=True, timeout=PATIENCE,
                       stdout=subprocess.DEVNULL)

    def ask(self, *words):
        return subprocess.run(["xdotool", *map(str, words)], env=self.environment, capture_output=True, text=True,
                              timeout=PATIENCE).stdout

    def picture(self, file):
        subprocess.run(["import", "-window", "root", str(file)], env=self.environment, check=True, timeout=PATIENCE)

    def pixels(self, left, top, width, height):
        """The colours of a place of the screen as triples, row by row."""
        raw = subprocess.run(["import", "-window", "root", "-crop", f"{width}x{height}+{left}+{top}", "-depth", "8",
                              "rgb:-"], env=self.environment, capture_output=True, check=True, timeout=PATIENCE).stdout
        return [tuple(raw[at:at + 3]) for at in range(0, len(raw), 3)]


class Window:
    """A run of `openhost desktop`, with everything that it writes in a folder of its own."""

    def __init__(self, *documents, home=None, size="1280x900", arguments=(), environment=None, downloads=True,
                 language="en"):
        self.home = Path(home)
        self.parts = self.home / "parts"
        self.temporary = self.home / "temporary"
        for folder in (self.parts, self.temporary, self.home / ".config"):
            folder.mkdir(parents=True, exist_ok=True)
        self.record = self.home / "record.json"
        self.journal_file = self.home / "journal.jsonl"
        self.errors = self.home / "errors.txt"
        self.mark = f"OPENHOST_WINDOW_TEST={self.home}"
        self.display = Display(size)
        command = [*TOGETHER, OPENHOST, "desktop", *documents, "--record", self.record, "--journal", self.journal_file,
                   *(["--folder", self.parts] if downloads else []),
                   *(["--language", language] if language else []), *arguments]
        name, value = self.mark.split("=", 1)
        self.environment = {**self.display.environment, "HOME": str(self.home), "TMPDIR": str(self.temporary),
                            "XDG_CONFIG_HOME": str(self.home / ".config"), "XDG_CACHE_HOME": str(self.home / ".cache"),
                            "XDG_DATA_HOME": str(self.home / ".local"), "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
                            "QT_ACCESSIBILITY": "1", "LANG": "C.UTF-8", name: value, **(environment or {})}
        self.environment.pop("WAYLAND_DISPLAY", None)
        self.process = subprocess.Popen([str(word) for word in command], env=self.environment, cwd=self.home,
                                        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                        stderr=self.errors.open("w"))
        self.application = until(self._find_application, "the window", alive=self.process)

    def _find_application(self):
        desktop = Atspi.get_desktop(0)
        for index in range(desktop.get_child_count()):
            child = desktop.get_child_at_index(index)
            if child and child.get_process_id() == self.process.pid and child.get_child_count() > 0:
                # Without a loop for its signals here, a cache would grow old.
                child.set_cache_mask(Atspi.Cache.NONE)
                return Control(child)
        return None

    # Finding

    def until(self, condition, what, seconds=PATIENCE):
        return until(condition, what, seconds, self.process)

    def each(self, role=None, name=None, inside=None, hidden=False):
        """What fits, one after the other; what is in the page only with the page as `inside`."""
        def fits(control):
            return (role is None or control.role == role) and (
                name is None or (name.search(control.name) if isinstance(name, re.Pattern) else control.name == name))

        return (control for control in (inside or self.application).below(hidden) if fits(control))

    def all(self, role=None, name=None, inside=None, hidden=False):
        return list(self.each(role, name, inside, hidden))

    def find(self, role=None, name=None, inside=None, seconds=PATIENCE):
        def one():
            return next((control for control in self.each(role, name, inside) if control.is_showing), None)

        return self.until(one, f"{role or 'a control'} named {name!r} shows", seconds)

    def gone(self, role, name):
        self.until(lambda: not self.all(role, name), f"{role} named {name!r} is gone")

    def tree(self):
        return self.find("tree", TREE)

    def entries(self):
        """The names in the tree, as far as they show."""
        return [cell.name for cell in self.all("table cell", inside=self.tree())
                if not cell.name or "." in cell.name]

    def tree_entry(self, name):
        return self.find("table cell", name, inside=self.tree())

    def page(self):
        return self.find("document web", re.compile("."))

    def find_in_page(self, role, name):
        """What the page has, to be seen or not, once it has come."""
        return self.until(lambda: next(self.each(role, name, inside=self.page(), hidden=True), None),
                          f"the page has a {role} named {name!r}")

    def page_link(self, title):
        """The link of an item."""
        return self.find_in_page("link", re.compile(f"^{re.escape(title)} "))

    def choose(self, title, button):
        """Picks the item of that title in the page, and what to do with it."""
        self.click_in_page("link", re.compile(f"^{re.escape(title)} "))
        self.click_in_page("push button", button)

    def click_in_page(self, role, name):
        """Clicks what the page has of that role and name, which scrolls until it is to be seen."""
        top, height = self.find("filler", "catalogue").box[1::2]

        def seen():
            found = next(self.each(role, name, inside=self.page(), hidden=True), None)
            if not found:
                return None
            middle = found.box[1] + found.box[3] // 2
            if top < middle < top + height:
                return found if found.is_enabled else None
            left, _, width, _ = self.page().box
            self.display.use("mousemove", left + width // 2, top + height // 2, "click", 4 if middle < top else 5)
            return None

        self.click(self.until(seen, f"{role} named {name!r} in the page"))

    # Acting

    def click(self, control, button=1, times=1):
        """Clicks the middle of `control`, once it stays where it is and takes input."""
        before = None

        def rests():
            nonlocal before
            now = control.box
            last, before = before, now
            return now == last and now[2] > 0 and now[3] > 0 and control.is_enabled

        self.until(rests, f"{control} takes input")
        left, top, width, height = before
        self.click_at(left + width // 2, top + height // 2, button, times)

    def click_at(self, x, y, button=1, times=1):
        self.display.use("mousemove", x, y, "click", "--repeat", times, "--delay", 60, button)

    def key(self, *keys):
        self.display.use("key", "--delay", 30, *keys)

    def type(self, text):
        self.display.use("type", "--delay", 15, text)

    def menu(self, *names):
        """Picks an entry of the menus by mouse."""
        bar = self.find("menu bar")
        self.click(self.find("menu item", names[0], inside=bar))
        for name in names[1:]:
            self.click(self.find("menu item", name))

    def close_box(self):
        """What the window manager does for the close box of the window with the input."""
        self.display.use("key", "alt+F4")

    def close_main(self):
        """The close box of the main window, whatever other window has the input."""
        self.display.use("search", "--onlyvisible", "--name", "Open host$", "windowactivate", "--sync")
        self.close_box()  # apart: keys after a search go past the window manager, to what was found

    # The journal

    def events(self, name=None):
        if not self.journal_file.exists():
            return []
        lines = self.journal_file.read_text(errors="replace").split("\n")[:-1]
        return [event for event in map(json.loads, lines) if name is None or event["event"] == name]

    def wait_for(self, event, count=1, **members):
        def there():
            found = [noted for noted in self.events(event)
                     if all(noted.get(member) == value for member, value in members.items())]
            return len(found) >= count and found

        return self.until(there, f"{count} of event {event} {members or ''} in the journal")

    # The end

    def left_processes(self):
        found = []
        for folder in Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                if self.mark.encode() in (folder / "environ").read_bytes().split(b"\0"):
                    found.append(f"{folder.name} {(folder / 'comm').read_text().strip()}")
        return found

    def check_goes_on(self, test):
        """The window is there and takes input."""
        self.click(self.find("menu item", "Help", inside=self.find("menu bar")))
        self.find("menu item", "About")
        self.key("Escape")
        test.assertIsNone(self.process.poll())

    def wait_for_end(self):
        """The exit status, once the run has ended."""
        try:
            return self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            raise AssertionError("the program has not ended") from None

    def check_end(self, test, status=0):
        """The run ends with `status` and leaves nothing."""
        test.assertEqual(status, self.wait_for_end(), self.errors.read_text())
        until(lambda: not self.left_processes(), "no process is left", 10) if self.left_processes() else None
        test.assertEqual([], sorted(str(file) for file in self.temporary.glob("openhost-*")))
        errors = self.errors.read_text()
        for sign in ("Segmentation", "SIGSEGV", "terminate called", "Traceback", "assert", "Received signal", "pure virtual"):
            test.assertNotIn(sign, errors)

    def stop(self):
        """Ends what a failed test has left."""
        self.process.poll()
        for entry in self.left_processes():
            with contextlib.suppress(OSError):
                os.kill(int(entry.split()[0]), signal.SIGKILL)
        self.process.wait()
        self.display.close()


class Journey(unittest.TestCase):
    """A test with a window. `root` is the document of most journeys."""

    item = "bearing-unit-20"
    root = "BEARING_UNIT_20"

    def setUp(self):
        self.home = Path(tempfile.mkdtemp(prefix="window-"))
        self.windows = []

    def document(self):
        folder = self.home / "parts"
        unpack(self.item, folder)
        return folder / f"{self.root}.ZALProduct"

    def open(self, *documents, **options):
        window = Window(*documents, home=self.home, **options)
        self.windows.append(window)
        window.find("frame", re.compile("Open host$"))
        return window

    def pick(self, window, title, button, entry):
        """Chooses what to do with an item of the page, and the entry of the tree that it asks for."""
        window.choose(title, button)
        window.find("label", PROMPT)
        window.click(window.tree_entry(entry))

    def insert(self, window, into=None):
        """Inserts a nut."""
        self.pick(window, "Hexagon nut ISO 4032 M6", "Insert", into or self.root)
        window.tree_entry("ISO4032_M6.1")
        window.find("frame", re.compile(r"\* - Open host$"))

    def run(self, result=None):
        before = result and len(result.failures) + len(result.errors)
        self.has_failed = lambda: result and len(result.failures) + len(result.errors) > before
        return super().run(result)

    def tearDown(self):
        for window in self.windows:
            if self.has_failed():
                folder = Path(os.environ.get("WINDOW_PICTURES") or BUILD / "windows")
                folder.mkdir(parents=True, exist_ok=True)
                file = folder / f"{self.id().split('.')[-1]}.png"
                with contextlib.suppress(Exception):
                    window.display.picture(file)
                    print(f"screen at the failure: {file}", file=sys.stderr)
                with contextlib.suppress(Exception):
                    shutil.copy(window.journal_file, file.with_suffix(".jsonl"))
                    shutil.copy(window.errors, file.with_suffix(".errors"))
                    print(f"errors: {window.errors.read_text()[-2000:]}", file=sys.stderr)
            window.stop()
        shutil.rmtree(self.home, ignore_errors=True)
