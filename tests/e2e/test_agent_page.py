"""The agent's page over real sockets; the test plays the program, the browser and strangers."""

import contextlib
import json
import os
import signal
import struct
import tempfile
import unittest

import page_client
from agent_page import AGENT, DELTA, HELLO, KEY, PageCase
from agent_support import Agent, frame
from page_client import BINARY, CLOSE, PING, TEXT, Address, request


class PageTest(PageCase):
    # The page

    def test_serves_the_page_and_says_where(self):
        status, headers, body = self.address.ask(f"/?key={self.address.key}")
        self.assertEqual(status, 200)
        self.assertEqual(headers["content-type"], "text/html; charset=utf-8")
        self.assertIn("default-src 'none'", headers["content-security-policy"])
        self.assertIn("HttpOnly; SameSite=Strict", headers["set-cookie"])
        self.assertIn(b"<!doctype html>", body.lower())

    def test_many_cookies_of_other_ports_keep_nobody_out(self):
        cookie = self.address.cookie()
        foreign = "; ".join(f"other-{number}={'x' * 1000}" for number in range(50))
        self.assertEqual(self.address.ask(Cookie=foreign)[0], 200)
        self.assertEqual(self.viewer(f"{foreign}; {cookie}").next(), {"program": "gone"})

    def test_says_where_the_page_is_also_when_quiet(self):
        with tempfile.TemporaryDirectory() as folder:
            agent = Agent(AGENT, os.path.join(folder, "s"), "--page", "--quiet", quiet=True)
            self.addCleanup(agent.close)
            self.assertNotEqual(Address(agent.notes.next()).key, self.address.key)

    def test_a_taken_port_is_told(self):
        with tempfile.TemporaryDirectory() as folder:
            agent = Agent(AGENT, os.path.join(folder, "s"), f"--page={self.address.port}",
                          quiet=True)
            self.addCleanup(agent.close)
            self.assertEqual(agent.notes.next(), f"vesk-agent: cannot serve the page at port "
                             f"{self.address.port}: Address already in use".encode())
            self.assertEqual(agent.status(), 1)

    # Refusals, each beside a session that goes on

    def test_strangers_requests_are_refused_in_words(self):
        program, viewer = self.watching()
        host = self.address.host
        upgrade = {"Connection": "Upgrade", "Upgrade": "websocket", "Sec-WebSocket-Version": "13",
                   "Sec-WebSocket-Key": "AAAAAAAAAAAAAAAAAAAAAA==",
                   "Sec-WebSocket-Protocol": "vesk-viewer.1", "Origin": f"http://{host}"}
        for status, data in (
                (403, request("GET", "/", {"Host": "evil.example"})),
                (403, request("GET", "/", {"Host": f"evil.example:{self.address.port}"})),
                (403, request("GET", "/", {})),
                (403, request("GET", "/viewer", {**upgrade, "Host": "evil.example"})),
                (403, request("GET", "/viewer", {**upgrade, "Host": host,
                                                 "Origin": "http://evil.example"})),
                (403, request("GET", "/viewer", {**upgrade, "Host": host, "Origin": None})),
                (403, request("GET", "/viewer", {**upgrade, "Host": host, "Origin": "null"})),
                (400, request("GET", "/viewer", {**upgrade, "Host": host,
                                                 "Sec-WebSocket-Protocol": None})),
                (404, request("GET", "/other", {**upgrade, "Host": host})),
                (404, request("GET", "/viewer", {"Host": host})),
                (404, request("GET", "/../../etc/passwd", {"Host": host})),
                (405, request("POST", "/", {"Host": host})),
                (431, request("GET", "/", {"Host": host, "X": "x" * 100_000})),
                (431, b"GET /" + b"x" * 100_000),
                (400, request("GET", "/viewer", {**upgrade, "Host": host}) + b"early"),
                (400, request("GET", "/", {"Host": host, "Content-Length": "5"}) + b"hello"),
                (400, b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03\r\n\r\n"),
                (400, b"\0" * 1000)):
            with self.subTest(data=data[:60], status=status):
                answer = self.address.ask_raw(data)
                self.assertEqual(answer[0], status)
                self.assertEqual(answer[1]["content-type"], "text/plain; charset=utf-8")
                self.assertRegex(answer[2].decode(), r"\A[A-Z][^\n]+\.\n\Z")
        self.assert_works(program, viewer)

    def test_an_upgrade_without_a_key_of_its_own_is_refused(self):
        viewer = self.knock(**{"Sec-WebSocket-Key": None})
        self.assertEqual(viewer.status, 400)

    def test_a_wrong_key_is_refused(self):
        program, viewer = self.watching()
        cookie = self.address.cookie()
        for opcode, payload in (
                (TEXT, b'{"key":"' + b"A" * 43 + b'"}'), (TEXT, b'{"key":""}'), (TEXT, b"{}"),
                (TEXT, b"garbage"), (TEXT, b'{"key":7}'), (TEXT, b""),
                (BINARY, b'{"key":"' + self.address.key.encode() + b'"}'),
                (BINARY, b'\1{"op":"stop"}')):
            with self.subTest(payload=payload):
                stranger = self.knock(cookie=cookie)
                stranger.send(opcode, payload)
                code, reason = stranger.end()
                self.assertEqual(code, 4401)
                self.assertRegex(reason, r"\A[A-Z].+\.\Z")
        self.assert_works(program, viewer)

    def test_the_key_is_one_browsers(self):
        cookie = self.address.cookie()
        without = self.knock()
        without.say(key=self.address.key)
        self.assertEqual(without.end()[0], 4401)

        viewer = self.viewer(cookie)
        self.assertEqual(viewer.next(), {"program": "gone"})
        other = self.knock(cookie=self.address.cookie())
        other.say(key=self.address.key)
        self.assertEqual(other.end(), (4401, "Another browser has used this key already. Start "
                                             "the agent anew for another one."))

        second_tab = self.knock(cookie=cookie)
        second_tab.say(key=self.address.key)
        self.assertEqual(second_tab.end(), (4409, "Another page views this screen already. Close "
                                                  "that one first."))

        # A page of another port of this address can set one of this name, for a longer path.
        name, _, token = cookie.partition("=")
        self.assertEqual(len(token), 43)
        crowded = self.knock(cookie=f"{name}={'B' * 43}; {cookie}")
        crowded.say(key=self.address.key)
        self.assertEqual(crowded.end()[0], 4409)

        # A reload: the seat is free when the agent has heard of the end.
        self.leave(viewer)
        self.assertEqual(self.viewer(cookie).next(), {"program": "gone"})

    def test_messages_that_no_page_may_send_end_it(self):
        cookie = self.address.cookie()
        program = self.program()
        for opcode, payload in (
                (BINARY, b"\3" + struct.pack("<I", 3000) + KEY), (BINARY, b"\0{}"), (BINARY, b""),
                (BINARY, b"\1[]"), (BINARY, b"\1{"), (BINARY, b'\2{"s":"\xff"}'),
                (BINARY, b"\1"), (TEXT, b'{"op":"stop"}'),
                (BINARY, b"\1{" + b" " * 65536 + b"}"), (BINARY, b"\1" * 1_000_000)):
            with self.subTest(payload=payload[:20]):
                viewer = self.viewer(cookie)
                self.assert_asked_for_key_frame(program)
                with contextlib.suppress(ConnectionError):
                    viewer.send(opcode, payload)
                code, reason = viewer.end()
                self.assertEqual(code, 4400)
                self.assertRegex(reason, r"\AThe page sent .+\.\Z")
        viewer = self.viewer(cookie)
        self.assert_asked_for_key_frame(program)
        self.assertEqual(viewer.next(), {"program": "connected"})
        self.assertEqual(viewer.next(), b"\1" + HELLO)
        self.assert_works(program, viewer)

    def test_broken_frames_end_their_connection_alone(self):
        cookie = self.address.cookie()
        program = self.program()
        message = b'\1{"op":"stop"}'
        for data in (
                page_client.frame(BINARY, message, masked=False), page_client.frame(3, message),
                page_client.frame(0, message), page_client.frame(PING, b"x" * 126),
                page_client.frame(PING, b"x", final=False), page_client.frame(TEXT, b"\xff"),
                page_client.frame(CLOSE, b"x"), b"\xff" * 100, b"GET / HTTP/1.1\r\n\r\n",
                b"\x82\xff" + b"\x7f" + b"\xff" * 11):
            with self.subTest(data=data[:20]):
                viewer = self.viewer(cookie)
                self.assert_asked_for_key_frame(program)
                viewer.socket.sendall(data)
                with contextlib.suppress(EOFError, ConnectionError):
                    self.assertIn(viewer.end()[0], (1002, 1007, 1009, 4400))
                viewer.close()
                while b"the viewer has gone" not in self.agent.notes.next():
                    pass
        viewer = self.viewer(cookie)
        self.assert_asked_for_key_frame(program)
        self.assertEqual(viewer.next(), {"program": "connected"})
        self.assertEqual(viewer.next(), b"\1" + HELLO)
        self.assert_works(program, viewer)

    def test_a_message_may_come_in_pieces(self):
        program, viewer = self.watching()
        viewer.send(BINARY, b"\1", final=False)
        viewer.send(PING, b"between")
        for byte in b'{"op":':
            viewer.send(0, bytes([byte]), final=False)
        viewer.send(0, b"", final=False)
        viewer.send(0, b'"stop"}')
        self.assertEqual(program.receive_frame(), (1, b'{"op":"stop"}'))

    def test_a_message_is_too_long_in_pieces_as_well(self):
        _, viewer = self.watching()
        viewer.send(BINARY, b"\1", final=False)
        with contextlib.suppress(ConnectionError):
            for _ in range(1000):
                viewer.send(0, b" " * 1000, final=False)
        self.assertEqual(viewer.end(), (4400, "The page sent a message that is too long."))

    def test_a_hundred_silent_connections_keep_nobody_out(self):
        program, viewer = self.watching()
        for number in range(100):
            connection = self.address.connect()
            self.addCleanup(connection.close)
            connection.sendall(b"GET / HTTP/1.1\r\nHost: "[:number % 20])
        for _ in range(100):
            self.knock()
        self.assertEqual(self.address.ask()[0], 200)
        self.assert_works(program, viewer)
        self.agent.process.send_signal(signal.SIGTERM)
        self.assertEqual(viewer.end()[0], 1001)

    def leave(self, viewer):
        viewer.send(CLOSE, struct.pack(">H", 1001))
        while b"the viewer has gone" not in self.agent.notes.next():
            pass

    # The session

    def test_frames_go_both_ways_as_they_are(self):
        program, viewer = self.watching()
        for kind, payload in ((1, b'{"op":"state","state":"awaiting-consent"}'),
                              (3, struct.pack("<I", 3000) + KEY + b"x" * 300_000),
                              (1, b'{"op":"started"}'), (3, struct.pack("<I", 3001) + DELTA),
                              (9, b"of no known kind"), (1, b"")):
            program.send(frame(kind, payload))
            while isinstance(message := viewer.next(), dict):
                self.assertIn("note", message)
            self.assertEqual(message, bytes([kind]) + payload)
        for kind, payload in ((1, b'{"op": "start"}'), (2, b'{"t":"u","s":"Gr\xc3\xbc\xc3\x9fe"}'),
                              (2, b"{" + b" " * (65536 - 2) + b"}")):
            viewer.send(BINARY, bytes([kind]) + payload)
            self.assertEqual(program.receive_frame(), (kind, payload))

    def test_the_page_is_told_of_the_program(self):
        viewer = self.viewer()
        self.assertEqual(viewer.next(), {"program": "gone"})
        viewer.control(op="start")  # nobody is there to hear it
        viewer.wait_until_heard()
        program = self.program()
        self.assertEqual(viewer.next(), {"program": "connected"})
        self.assertEqual(viewer.next(), b"\1" + HELLO)
        self.assert_asked_for_key_frame(program)
        self.assert_works(program, viewer)
        program.close()
        self.assertEqual(viewer.next(), {"program": "gone"})

    def test_a_page_that_comes_late_is_told_of_the_session(self):
        program = self.program()
        cookie = self.address.cookie()
        started = b'{"op":"started","width":1920,"height":1080}'
        stop = b'{"op":"stop"}'

        def told():
            """What a page hears before the answer to its own request."""
            viewer = self.viewer(cookie)
            self.assert_asked_for_key_frame(program)
            self.assertEqual(viewer.next(), {"program": "connected"})
            self.assertEqual(viewer.next(), b"\1" + HELLO)
            viewer.control(op="viewer")
            self.assertEqual(json.loads(program.receive_frame()[1]), {"op": "viewer"})
            program.send(frame(1, b'{"op":"end"}'))
            messages = []
            while (message := viewer.next()) != b'\1{"op":"end"}':
                messages.append(message)
            self.assertEqual(self.agent.output.next(), b'{"op":"end"}')
            self.leave(viewer)
            return messages

        self.assertEqual(told(), [])
        for last in (b'{"op":"state","state":"awaiting-consent"}', started):
            program.send(frame(1, last))
            self.assertEqual(self.agent.output.next(), last)
            self.assertEqual(told(), [b"\1" + last])
        self.agent.write(b"stop")
        self.assertEqual(program.receive_frame(), (1, stop))
        self.assertEqual(told(), [])

    def test_what_a_lost_viewer_held_is_let_go_of(self):
        program, viewer = self.watching()
        held = b'{"t":"k","c":162,"e":"down","m":2}'
        viewer.send(BINARY, b"\2" + held)
        self.assertEqual(program.receive_frame(), (2, held))
        viewer.close()
        self.assertEqual(json.loads(program.receive_frame()[1]),
                         {"t": "k", "c": 162, "e": "up", "x": False, "m": 0})

    def test_the_end_of_the_agent_is_told(self):
        _, viewer = self.watching()
        self.agent.process.send_signal(signal.SIGTERM)
        self.assertEqual(viewer.end(), (1001, "The agent has ended."))
        self.assertEqual(self.agent.status(), 0)


if __name__ == "__main__":
    unittest.main()
