"""The hands of somebody who sits at the browser, as they arrive on the person's screen."""

import subprocess

import harness
from viewing import Viewing, wait_until
from xclient import XClient, XWindow

# The keycodes of both displays by KeyboardEvent.code: those of Linux (input-event-codes.h) and 8.
KEYCODES = {
    "Escape": 9, "Digit1": 10, "Digit2": 11, "Digit3": 12, "Digit4": 13, "Digit5": 14,
    "Digit6": 15, "Digit7": 16, "Digit8": 17, "Digit9": 18, "Digit0": 19, "Minus": 20,
    "Equal": 21, "Backspace": 22, "Tab": 23, "KeyQ": 24, "KeyW": 25, "KeyE": 26, "KeyR": 27,
    "KeyT": 28, "KeyY": 29, "KeyU": 30, "KeyI": 31, "KeyO": 32, "KeyP": 33, "BracketLeft": 34,
    "BracketRight": 35, "Enter": 36, "ControlLeft": 37, "KeyA": 38, "KeyS": 39, "KeyD": 40,
    "KeyF": 41, "KeyG": 42, "KeyH": 43, "KeyJ": 44, "KeyK": 45, "KeyL": 46, "Semicolon": 47,
    "Quote": 48, "Backquote": 49, "ShiftLeft": 50, "Backslash": 51, "KeyZ": 52, "KeyX": 53,
    "KeyC": 54, "KeyV": 55, "KeyB": 56, "KeyN": 57, "KeyM": 58, "Comma": 59, "Period": 60,
    "Slash": 61, "ShiftRight": 62, "NumpadMultiply": 63, "AltLeft": 64, "Space": 65,
    "F1": 67, "F2": 68, "F3": 69, "F4": 70, "F5": 71, "F6": 72, "F7": 73,
    "F8": 74, "F9": 75, "F10": 76, "Numpad7": 79, "Numpad8": 80, "Numpad9": 81,
    "NumpadSubtract": 82, "Numpad4": 83, "Numpad5": 84, "Numpad6": 85, "NumpadAdd": 86,
    "Numpad1": 87, "Numpad2": 88, "Numpad3": 89, "Numpad0": 90, "NumpadDecimal": 91,
    "IntlBackslash": 94, "F11": 95, "F12": 96, "NumpadEnter": 104, "ControlRight": 105,
    "NumpadDivide": 106, "AltRight": 108, "Home": 110, "ArrowUp": 111, "PageUp": 112,
    "ArrowLeft": 113, "ArrowRight": 114, "End": 115, "ArrowDown": 116, "PageDown": 117,
    "Insert": 118, "Delete": 119, "MetaLeft": 133, "MetaRight": 134,
}
KEY_A, KEY_Q, ALT_GR, SHIFT, CAPS_LOCK, NUM_LOCK = 38, 24, 108, 50, 66, 77
# The clipboard is read in its own time; what is pasted is typed before anything else happens.
TELL_OF_PASTE = """
  const { clipboard } = navigator;
  const read = clipboard.readText.bind(clipboard);
  clipboard.readText = () => read().finally(() => setTimeout(() => { window.hasPasted = true; }));
"""
LEFT, RIGHT, UP, DOWN = 1, 3, 4, 5  # buttons; the wheel's among them


class Hands(Viewing):
    """On a screen of which one window has everything."""

    manager = None
    server_options = ("-r",)  # keys do not repeat, however long a busy machine takes to let go of them

    def setUp(self):
        super().setUp()
        self.x = XClient(self.server.display)
        self.addCleanup(self.x.close)
        self.window = XWindow(self.x, 0, 0, 1280, 800)
        self.watch()
        self.window.take_keys()
        # What is typed arrives: the page has the keyboard, and the window there.
        self.strike_until_heard(KEY_A)

    def strike_until_heard(self, keycode):
        """Strikes may be lost while the page has no keyboard; those that are late are passed over too."""
        def is_heard():
            self.browser.hands("key", keycode)
            return self.window.input()
        wait_until(is_heard, "a key arrives")
        self.browser.hands("key", KEY_Q)
        wait_until(lambda: ("release", KEY_Q) in self.window.input(), "what came before has arrived")

    def expect(self, *events):
        heard = []

        def is_there():
            heard.extend(self.window.input())
            return len(heard) >= len(events)
        harness.wait_until(is_there, f"{events} arrive, after {heard}")
        self.assertEqual(heard, list(events))

    def point(self, x, y):
        """Goes to a fraction of the picture and waits until the person's pointer is there."""
        self.browser.hands("mousemove", *self.page.place(x, y))
        harness.wait_until(lambda: self.is_at(x, y), "the pointer is there")

    def is_at(self, x, y):
        there, _ = self.x.pointer()
        return abs(there[0] - 1280 * x) <= 2 and abs(there[1] - 800 * y) <= 2

    def test_every_key_arrives_at_its_place(self):
        known = self.browser.run("return import('/keys.js').then(({keys}) => [...keys.keys()])")
        self.assertEqual(set(known), {*KEYCODES, "CapsLock", "NumLock"})
        self.browser.hands("key", NUM_LOCK)
        self.addCleanup(self.browser.hands, "key", NUM_LOCK)
        self.expect(("press", NUM_LOCK), ("release", NUM_LOCK))
        for code, keycode in KEYCODES.items():
            with self.subTest(code):
                # xdotool takes a single digit for the key that writes it.
                key = "Escape" if code == "Escape" else keycode
                self.browser.hands("keydown", key)
                self.expect(("press", keycode))
                self.browser.hands("keyup", key)
                self.expect(("release", keycode))

    def test_in_full_screen_the_browsers_own_keys_arrive(self):
        self.page.click("full-screen")
        wait_until(lambda: self.browser.run("return document.fullscreenElement !== null"),
                   "the page fills the screen")
        control, key_t, key_w, f11 = (KEYCODES[code] for code in
                                      ("ControlLeft", "KeyT", "KeyW", "F11"))
        # What the browser would open and close a tab by, once it has left them to the page.
        self.strike_until_heard(f11)
        for key in (key_t, key_w):
            self.browser.hands("keydown", control, "key", key, "keyup", control)
            self.expect(("press", control), ("press", key), ("release", key), ("release", control))
        self.browser.picture("full-screen")
        self.browser.hands("key", "ctrl+alt+shift+f")
        wait_until(lambda: self.browser.run("return document.fullscreenElement === null"),
                   "the page has left the full screen")

    def test_caps_lock_is_locked_while_the_viewers_is(self):
        for is_locked in (True, False):
            self.browser.hands("key", CAPS_LOCK)
            wait_until(lambda: self.x.is_caps_locked() == is_locked, "the lock is the viewer's")

    def test_keys_arrive_by_place_on_another_layout(self):
        self.addCleanup(self.set_layout, "us")
        self.set_layout("de")
        self.browser.hands("keydown", ALT_GR, "keydown", KEY_Q)
        self.expect(("press", ALT_GR), ("press", KEY_Q))
        self.browser.hands("keyup", KEY_Q, "keyup", ALT_GR)
        self.expect(("release", KEY_Q), ("release", ALT_GR))
        self.browser.hands("key", KEYCODES["KeyY"])
        self.expect(("press", KEYCODES["KeyY"]), ("release", KEYCODES["KeyY"]))

    def set_layout(self, layout):
        subprocess.run(["setxkbmap", "-display", self.viewer_display, layout], check=True)

    def test_what_is_held_is_let_go_of_when_another_tab_is_shown(self):
        self.addCleanup(self.browser.hands, "keyup", SHIFT, "keyup", KEY_A)
        self.browser.hands("keydown", SHIFT, "keydown", KEY_A)
        self.expect(("press", SHIFT), ("press", KEY_A))
        self.browser.new_tab()
        self.addCleanup(self.browser.close_tab)
        wait_until(lambda: not self.x.held_keys(), "nothing is held")

    def test_drags_beyond_the_picture(self):
        self.point(0.5, 0.5)
        self.browser.hands("mousedown", LEFT)
        self.expect(("button press", LEFT))
        self.point(0.25, 0.75)
        self.assertEqual(self.x.pointer()[1], {LEFT})
        self.browser.hands("mousemove", 0, 0)
        wait_until(lambda: self.x.pointer()[0] == (0, 0), "the pointer is in the corner")
        self.browser.hands("mouseup", LEFT)
        self.expect(("button release", LEFT))

    def test_clicks_and_turns_the_wheel(self):
        self.point(0.5, 0.5)
        for button in (LEFT, RIGHT, 2, UP, UP, DOWN):
            self.browser.hands("click", button)
            self.expect(("button press", button), ("button release", button))


class Words(Viewing):
    """In programs that a person has."""

    def test_an_entry_takes_any_text(self):
        entry = self.start(harness.Child, ["zenity", "--entry", "--text", "Say something"],
                           self.environment(), stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                           text=True)
        wait_until(lambda: self.person("search", "--onlyvisible", "--class", "zenity"),
                   "the entry is on the screen")
        self.watch()
        self.browser.command("Input.imeSetComposition", text="にほ", selectionStart=2,
                             selectionEnd=2)
        self.browser.command("Input.insertText", text="日本語 ")
        self.browser.command("Input.insertText", text="🧑‍🚀 ")
        self.browser.command("Browser.grantPermissions", permissions=["clipboardReadWrite"])
        self.browser.copy("Grüße, Привет, שלום, 你好 🎉")
        self.browser.run(TELL_OF_PASTE)
        self.browser.hands("key", "ctrl+alt+shift+v")
        wait_until(lambda: self.browser.run("return window.hasPasted"), "the page has pasted")
        self.browser.picture("typing")
        self.browser.hands("key", "Return")
        self.assertEqual(entry.wait(), 0)
        self.assertEqual(entry.process.stdout.read(), "日本語 🧑‍🚀 Grüße, Привет, שלום, 你好 🎉\n")


class Terminal(Viewing):
    """In the corner of the person's screen."""

    manager = None

    def setUp(self):
        super().setUp()
        self.start(harness.Child, ["xterm", "-geometry", "80x24+0+0", "-b", "0", "-fa", "Monospace",
                                   "-e", "echo one word here; touch written; read never"],
                   self.environment(), cwd=self.home)
        wait_until((self.home / "written").exists, "the terminal has written")
        self.watch()

    def test_a_double_click_takes_a_word(self):
        self.browser.hands("mousemove", *self.cell(5.5), "click", "--repeat", 2, 1)
        wait_until(lambda: self.selected() == "word", "the word is selected")

    def test_a_drag_takes_what_lies_between(self):
        self.browser.hands("mousemove", *self.cell(2.1), "mousedown", 1,
                           "mousemove", *self.cell(4), "mousemove", *self.cell(11.1), "mouseup", 1)
        wait_until(lambda: self.selected() == "e word he", "what lies between is selected")

    def cell(self, column):
        """Where the viewer sees a column of the terminal's first line."""
        (window,) = self.person("search", "--onlyvisible", "--class", "xterm")
        lines = self.person("getwindowgeometry", "--shell", window)
        size = {name: int(value) for name, value in (line.split("=") for line in lines)}
        return self.page.place(column * size["WIDTH"] / 80 / 1280, size["HEIGHT"] / 48 / 800)

    def selected(self):
        return subprocess.run(["xclip", "-o", "-selection", "primary"], env=self.environment(),
                              capture_output=True, text=True, timeout=harness.PATIENCE).stdout


if __name__ == "__main__":
    harness.main()
