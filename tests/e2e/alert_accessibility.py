"""What a screen reader learns of the alert, and that it can press the buttons.

Runs inside a D-Bus session of its own; its argument is the program that shows the alert.
"""

import os
import subprocess
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

MESSAGE = "Ada Lovelace would like to view your screen"
EXPLANATION = (
    "They will see everything on this screen until the session ends. You can say no."
)


def start_server():
    reading, writing = os.pipe()
    server = subprocess.Popen(
        ["Xvfb", "-displayfd", str(writing), "-screen", "0", "1280x800x24"]
        + ["-nolisten", "tcp", "-noreset"],
        pass_fds=[writing],
        stderr=subprocess.DEVNULL,
    )
    os.close(writing)
    with os.fdopen(reading) as lines:
        return server, ":" + lines.readline().strip()


def nodes(node):
    yield node
    for index in range(node.get_child_count()):
        yield from nodes(node.get_child_at_index(index))


def has(node, state):
    return node.get_state_set().contains(state)


def find(role, name):
    """The one on any application's tree, waited for."""
    deadline = time.monotonic() + 30
    while time.monotonic() < deadline:
        for node in nodes(Atspi.get_desktop(0)):
            if (node.get_role_name(), node.get_name()) == (role, name):
                return node
        time.sleep(0.05)
    raise AssertionError(f"no {role} named {name!r}")


def check(program, display):
    environment = dict(os.environ, DISPLAY=display, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
    shown = subprocess.Popen(
        [program], env=environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True
    )
    try:
        assert shown.stdout.readline() == "ready\n"
        for button, answer in [("Allow", "allowed\n"), ("Don't Allow", "denied\n")]:
            shown.stdin.write("ask Ada Lovelace\n")
            shown.stdin.flush()
            dialog = find("dialog", MESSAGE)
            assert dialog.get_description() == EXPLANATION, dialog.get_description()
            find("label", MESSAGE)
            find("label", EXPLANATION)
            assert has(find("push button", "Allow"), Atspi.StateType.IS_DEFAULT)
            assert has(find("push button", "Allow"), Atspi.StateType.FOCUSABLE)
            actions = find("push button", button).get_action_iface()
            assert actions.get_action_name(0) == "Press", actions.get_action_name(0)
            assert actions.do_action(0)
            assert shown.stdout.readline() == answer
        shown.stdin.close()
        assert shown.wait(30) == 0
    finally:
        shown.kill()
        shown.wait()


def main():
    server, display = start_server()
    # The accessibility bus belongs to the session, and its programs want a display as well.
    os.environ["DISPLAY"] = display
    try:
        check(sys.argv[1], display)
    finally:
        server.kill()
        server.wait()


main()
