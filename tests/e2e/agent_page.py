"""The agent with its page, a program and viewers, for the tests of the page."""

import json
import os
import sys
import tempfile
import unittest

from agent_support import Agent, Program, frame
from page_client import Address, Viewer

AGENT = sys.argv.pop(1)

HELLO = b'{"op":"hello","user":"ada"}'
KEY = b"\0\0\0\1\x67sps\0\0\0\1\x68pps\0\0\0\1\x65"
DELTA = b"\0\0\0\1\x41"


class PageCase(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = os.path.join(folder.name, "agent.sock")
        self.agent = Agent(AGENT, self.path, "--page")
        self.addCleanup(self.agent.close)
        self.address = Address(self.agent.notes.next())

    def program(self):
        program = Program(self.path)
        self.addCleanup(program.close)
        program.send(frame(1, HELLO))
        self.assertEqual(self.agent.output.next(), HELLO)
        return program

    def knock(self, **options):
        viewer = Viewer(self.address, **options)
        self.addCleanup(viewer.close)
        return viewer

    def viewer(self, cookie=None, **options):
        """One that is let in."""
        viewer = self.knock(cookie=cookie or self.address.cookie(), **options)
        self.assertEqual(viewer.status, 101)
        viewer.say(key=self.address.key)
        return viewer

    def watching(self, **options):
        """A program, and a viewer that has been told of it."""
        program = self.program()
        viewer = self.viewer(**options)
        self.assertEqual(viewer.next(), {"program": "connected"})
        self.assertEqual(viewer.next(), b"\1" + HELLO)
        self.assert_asked_for_key_frame(program)
        return program, viewer

    def assert_asked_for_key_frame(self, program):
        self.assertEqual(program.receive_frame(), (1, b'{"op":"keyframe"}'))

    def assert_works(self, program, viewer):
        viewer.control(op="viewer", name="still here")
        kind, payload = program.receive_frame()
        self.assertEqual((kind, json.loads(payload)), (1, {"op": "viewer", "name": "still here"}))
        program.send(frame(1, b'{"op":"denied"}'))
        self.assertEqual(viewer.next(), b'\1{"op":"denied"}')
