"""What an X server believes to be pressed and where its pointer is, asked through the C library."""

import ctypes
import ctypes.util
import select
import time

_x11 = ctypes.CDLL(ctypes.util.find_library("X11") or "libX11.so.6")
_x11.XOpenDisplay.restype = ctypes.c_void_p
_x11.XDefaultRootWindow.restype = ctypes.c_ulong
_x11.XDefaultRootWindow.argtypes = [ctypes.c_void_p]
_x11.XQueryKeymap.argtypes = [ctypes.c_void_p, ctypes.c_char_p]
_x11.XQueryPointer.argtypes = [ctypes.c_void_p, ctypes.c_ulong] + [ctypes.c_void_p] * 7
_x11.XCloseDisplay.argtypes = [ctypes.c_void_p]
_x11.XInternAtom.restype = ctypes.c_ulong
_x11.XInternAtom.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int]
_x11.XListProperties.restype = ctypes.POINTER(ctypes.c_ulong)
_x11.XListProperties.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_void_p]
_x11.XCreateSimpleWindow.restype = ctypes.c_ulong
_x11.XCreateSimpleWindow.argtypes = ([ctypes.c_void_p, ctypes.c_ulong] + [ctypes.c_int] * 2
                                     + [ctypes.c_uint] * 3 + [ctypes.c_ulong] * 2)
_x11.XSendEvent.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_long,
                            ctypes.c_void_p]
_x11.XQueryTree.argtypes = [ctypes.c_void_p, ctypes.c_ulong] + [ctypes.c_void_p] * 4
_x11.XGetWindowAttributes.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_void_p]
_x11.XFree.argtypes = [ctypes.c_void_p]
_x11.XGetImage.restype = ctypes.c_void_p
_x11.XGetImage.argtypes = ([ctypes.c_void_p, ctypes.c_ulong] + [ctypes.c_int] * 2
                           + [ctypes.c_uint] * 2 + [ctypes.c_ulong, ctypes.c_int])
_x11.XDestroyImage.argtypes = [ctypes.c_void_p]
_x11.XGetPixel.restype = ctypes.c_ulong
_x11.XGetPixel.argtypes = [ctypes.c_void_p, ctypes.c_int, ctypes.c_int]
_x11.XSelectInput.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_long]
_x11.XFlush.argtypes = [ctypes.c_void_p]
_x11.XPending.argtypes = [ctypes.c_void_p]
_x11.XConnectionNumber.argtypes = [ctypes.c_void_p]
_x11.XNextEvent.argtypes = [ctypes.c_void_p, ctypes.c_void_p]
_x11.XMapRaised.argtypes = [ctypes.c_void_p, ctypes.c_ulong]
_x11.XSetInputFocus.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_ulong]
_x11.XSetWindowBackground.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_ulong]
_x11.XClearWindow.argtypes = [ctypes.c_void_p, ctypes.c_ulong]
_x11.XSync.argtypes = [ctypes.c_void_p, ctypes.c_int]

# A window may be gone before it is asked about: the answer tells, and the error need not.
_ignore = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p)(lambda *_: 0)
_x11.XSetErrorHandler(_ignore)

_MAP_STATE, _IS_VIEWABLE = 23, 2  # the field's place among the integers of XWindowAttributes
_KEY_PRESS = 2
_EVENTS = {2: "press", 3: "release", 4: "button press", 5: "button release"}
_INPUT_EVENTS = 1 | 1 << 1 | 1 << 2 | 1 << 3
_CLIENT_MESSAGE, _TO_WINDOW_MANAGER = 33, 1 << 20 | 1 << 19
_LOCK_MASK = 2
_BUTTONS = {1: 0x100, 2: 0x200, 3: 0x400}


class _InputEvent(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong), ("root", ctypes.c_ulong),
                ("subwindow", ctypes.c_ulong), ("time", ctypes.c_ulong), ("x", ctypes.c_int),
                ("y", ctypes.c_int), ("x_root", ctypes.c_int), ("y_root", ctypes.c_int),
                ("state", ctypes.c_uint), ("detail", ctypes.c_uint), ("rest", ctypes.c_long * 16)]


class _ClientMessage(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong),
                ("message", ctypes.c_ulong), ("format", ctypes.c_int), ("data", ctypes.c_long * 17)]


class XClient:
    """A connection of its own to one display."""

    def __init__(self, display):
        self._display = _x11.XOpenDisplay(display.encode())
        if not self._display:
            raise AssertionError(f"no connection to {display}")
        self._root = _x11.XDefaultRootWindow(self._display)

    def close(self):
        _x11.XCloseDisplay(self._display)

    def held_keys(self):
        """The keycodes that are down."""
        keys = ctypes.create_string_buffer(32)
        _x11.XQueryKeymap(self._display, keys)
        return {8 * byte + bit for byte in range(32) for bit in range(8)
                if keys.raw[byte] >> bit & 1}

    def ask_window_manager(self):
        """A way to ask the window manager something, and whether it has answered as yet.

        One that is starting may have read a request and then sleep before it looks at it, until
        something else comes. Whoever answers is past that.
        """
        window = _x11.XCreateSimpleWindow(self._display, self._root, 0, 0, 1, 1, 0, 0, 0)
        question, answer = (_x11.XInternAtom(self._display, name, 0) for name in (
            b"_NET_REQUEST_FRAME_EXTENTS", b"_NET_FRAME_EXTENTS"))
        event = _ClientMessage(type=_CLIENT_MESSAGE, window=window, message=question, format=32)

        def is_answered():
            _x11.XSendEvent(self._display, self._root, 0, _TO_WINDOW_MANAGER, ctypes.byref(event))
            return answer in self._properties(window)
        return is_answered

    def _properties(self, window):
        count = ctypes.c_int()
        properties = _x11.XListProperties(self._display, window, ctypes.byref(count))
        atoms = [properties[i] for i in range(count.value)]
        if properties:
            _x11.XFree(properties)
        return atoms

    def pointer(self):
        """The pointer's place and the buttons that are down."""
        place, mask = self._query_pointer()
        return place, {button for button, bit in _BUTTONS.items() if mask & bit}

    def is_caps_locked(self):
        return bool(self._query_pointer()[1] & _LOCK_MASK)

    def _query_pointer(self):
        window, child = ctypes.c_ulong(), ctypes.c_ulong()
        x, y, inner_x, inner_y = (ctypes.c_int() for _ in range(4))
        mask = ctypes.c_uint()
        _x11.XQueryPointer(self._display, self._root, *(ctypes.byref(value) for value in (
            window, child, x, y, inner_x, inner_y, mask)))
        return (x.value, y.value), mask.value

    def in_sight(self):
        """How many windows are mapped on the root."""
        root, parent, count = ctypes.c_ulong(), ctypes.c_ulong(), ctypes.c_uint()
        windows = ctypes.POINTER(ctypes.c_ulong)()
        _x11.XQueryTree(self._display, self._root, ctypes.byref(root), ctypes.byref(parent),
                        ctypes.byref(windows), ctypes.byref(count))
        attributes = (ctypes.c_int * 64)()
        viewable = 0
        for i in range(count.value):
            status = _x11.XGetWindowAttributes(self._display, windows[i], attributes)
            viewable += bool(status and attributes[_MAP_STATE] == _IS_VIEWABLE)
        _x11.XFree(windows)
        return viewable

    def watch_motion(self):
        """From now on `next_motion` has the pointer's motions over the bare screen."""
        pointer_motion = 1 << 6
        _x11.XSelectInput(self._display, self._root, pointer_motion)
        self.pointer()  # an answer: the server knows of the wish

    def watch_keys(self):
        """From now on `keys_heard` knows of the keys that nobody else has the focus for."""
        key_press = 1
        _x11.XSelectInput(self._display, self._root, key_press)
        self.pointer()  # an answer: the server knows of the wish

    def keys_heard(self, within=0):
        """How many keys have come since this was last asked, after something has come or that many
        seconds are over. When the server made the last one stands in `last_key` then, on the clock of
        `time.monotonic`."""
        event, count = _InputEvent(), 0
        if not _x11.XPending(self._display):
            select.select([_x11.XConnectionNumber(self._display)], [], [], within)
        while _x11.XPending(self._display):
            _x11.XNextEvent(self._display, ctypes.byref(event))
            if event.type == _KEY_PRESS:
                count += 1
                now = time.monotonic()
                # The server's time is that clock's too, in milliseconds, of which it has 32 bits.
                self.last_key = now - ((int(now * 1000) - event.time) % (1 << 32)) / 1000
        return count

    def next_motion(self):
        """Waits for the next one. Its place on the screen."""
        event = _InputEvent()
        _x11.XNextEvent(self._display, ctypes.byref(event))
        return event.x_root, event.y_root

    def pixel(self, x, y):
        """The colour of a place on the screen, as 0xrrggbb."""
        all_planes, whole_pixels = 0xffffffff, 2
        image = _x11.XGetImage(self._display, self._root, x, y, 1, 1, all_planes, whole_pixels)
        colour = _x11.XGetPixel(image, 0, 0) & 0xffffff
        _x11.XDestroyImage(image)
        return colour


class XWindow:
    """A window of one colour, without a window manager's help, that keeps the input it gets."""

    def __init__(self, client, x, y, width, height):
        self._display = client._display
        self._window = _x11.XCreateSimpleWindow(self._display, client._root, x, y, width, height,
                                                0, 0, 0)
        _x11.XSelectInput(self._display, self._window, _INPUT_EVENTS)
        _x11.XMapRaised(self._display, self._window)
        self._sync()

    def take_keys(self):
        """Has the keyboard from now on."""
        to_parent, now = 2, 0
        _x11.XSetInputFocus(self._display, self._window, to_parent, now)
        self._sync()

    def paint(self, colour):
        """0xrrggbb; when it comes back, the server has painted."""
        _x11.XSetWindowBackground(self._display, self._window, colour)
        _x11.XClearWindow(self._display, self._window)
        self._sync()

    def input(self):
        """What has come since this was last asked: press or release, of which key or button."""
        event, heard = _InputEvent(), []
        while _x11.XPending(self._display):
            _x11.XNextEvent(self._display, ctypes.byref(event))
            if event.type in _EVENTS:
                heard.append((_EVENTS[event.type], event.detail))
        return heard

    def _sync(self):
        _x11.XSync(self._display, 0)
