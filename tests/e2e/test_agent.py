"""The reference agent's executable over a real socket; the test plays the program."""

import os
import signal
import struct
import subprocess
import sys
import tempfile
import unittest

from agent_support import DEADLINE, Agent, Program, frame, video

AGENT = sys.argv.pop(1)

HELLO = b'{"op":"hello","user":"ada","uid":501,"screenRecording":true,"accessibility":false}'
KEY = b"\0\0\0\1\x67sps\0\0\0\1\x68pps\0\0\0\1\x65key slice"
DELTA = b"\0\0\0\1\x41delta slice"


class AgentTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.path = os.path.join(self.folder, "agent.sock")

    def file(self, name):
        return os.path.join(self.folder, name)

    def agent(self, *options, **keywords):
        agent = Agent(AGENT, self.path, *options, **keywords)
        self.addCleanup(agent.close)
        return agent

    def program(self):
        program = Program(self.path)
        self.addCleanup(program.close)
        return program

    def connected(self, *options, **keywords):
        agent = self.agent(*options, **keywords)
        program = self.program()
        self.assertEqual(agent.notes.next(), b"vesk-agent: connected")
        return agent, program

    def refused(self, *arguments, **keywords):
        """The one line with which the agent refuses its arguments, and its status."""
        result = subprocess.run([AGENT, *arguments], stdin=subprocess.DEVNULL, timeout=DEADLINE,
                                capture_output=True, text=True, **keywords)
        self.assertEqual(result.stdout, "")
        self.assertEqual(result.stderr.count("\n"), 1, result.stderr)
        self.assertTrue(result.stderr.startswith("vesk-agent: "), result.stderr)
        return result.returncode, result.stderr

    # What the program sends

    def test_prints_each_control_message_as_it_came(self):
        agent, program = self.connected()
        program.send(frame(1, HELLO))
        self.assertEqual(agent.output.next(), HELLO)
        odd = b'{ "a":[1.50, "\xc3\xa9\\u00e9"],\n"op":"odd" }'
        program.send(frame(1, odd) + frame(1, b'{"op":"next"}'))
        self.assertEqual(agent.output.next(), odd.replace(b"\n", b" "))
        self.assertEqual(agent.output.next(), b'{"op":"next"}')

    def test_assembles_a_frame_that_comes_in_pieces(self):
        agent, program = self.connected()
        for byte in frame(1, b'{"op":"slow"}'):
            program.send(bytes([byte]))
        self.assertEqual(agent.output.next(), b'{"op":"slow"}')

    def test_records_the_video_and_sums_it_up(self):
        agent, program = self.connected("--record", self.file("v"),
                                        "--record-durations", self.file("d"))
        big = KEY + b"x" * 3_000_000  # more than a control frame may have
        program.send(video(3000, big) + video(2999, DELTA) + video(0, KEY))
        program.close()
        total = len(big) + len(DELTA) + len(KEY)
        units, size = 0, 0
        while (note := agent.notes.next()) != b"vesk-agent: lost":
            words = note.split()
            self.assertEqual(words[:2], [b"vesk-agent:", b"video:"])
            units, size = units + int(words[2]), size + int(words[5])
        self.assertEqual((units, size), (3, total))
        with open(self.file("v"), "rb") as recording:
            self.assertEqual(recording.read(), big + DELTA + KEY)
        with open(self.file("d"), encoding="ascii") as durations:
            self.assertEqual(durations.read(),
                             f"3000 {len(big)} key\n2999 {len(DELTA)} delta\n0 {len(KEY)} key\n")

    def test_notes_the_video_within_a_second_although_nothing_follows(self):
        agent, program = self.connected()
        program.send(video(3000, KEY))
        self.assertEqual(agent.notes.next(),
                         b"vesk-agent: video: 1 access unit, %d bytes, key frame" % len(KEY))

    def test_counts_protocol_errors_and_goes_on(self):
        agent, program = self.connected()
        program.send(frame(2, b"x") + frame(1, b"[1]") + frame(1, b'{"op":1}') + frame(3, b"abc")
                     + frame(200) + frame(1, HELLO))
        for text in (b"frame of kind 2 (1 bytes); the program sends 1 and 3",
                     b"control payload is not a JSON object: [1]",
                     b'control message without a string "op": {"op":1}',
                     b"video payload of 3 bytes has no room for its duration",
                     b"frame of kind 200 (0 bytes); the program sends 1 and 3"):
            self.assertEqual(agent.notes.next(), b"vesk-agent: protocol error: " + text)
        self.assertEqual(agent.output.next(), HELLO)
        agent.write(b"quit")
        self.assertEqual(agent.status(), 0)
        self.assertEqual(agent.notes.rest(), [b"vesk-agent: protocol errors: 5"])

    def test_ends_at_the_first_protocol_error_when_strict(self):
        agent, program = self.connected("--strict", "--record", self.file("v"))
        program.send(video(3000, b"\0\0\1\x65"))
        self.assertEqual(agent.status(), 4)
        self.assertEqual(
            agent.notes.next(),
            b"vesk-agent: protocol error: access unit does not begin with 00 00 00 01: "
            b"\\x00\\x00\\x01e")
        self.assertFalse(os.path.exists(self.path))
        with open(self.file("v"), "rb") as recording:
            self.assertEqual(recording.read(), b"\0\0\1\x65")

    def test_gives_up_a_stream_with_an_impossible_length(self):
        agent, program = self.connected()
        program.send(struct.pack("<BI", 3, 64 * 1024 * 1024 + 1))
        self.assertTrue(program.is_closed())
        self.assertIn(b"frame of 67108865 bytes", agent.notes.next())
        self.assertEqual(agent.notes.next(),
                         b"vesk-agent: disconnected, since the stream is broken")
        self.program()
        self.assertEqual(agent.notes.next(), b"vesk-agent: connected")

    def test_tells_of_an_unfinished_frame(self):
        agent, program = self.connected()
        program.send(frame(1, HELLO)[:9])
        program.close()
        self.assertEqual(agent.notes.next(),
                         b"vesk-agent: lost, with 9 bytes of an unfinished frame")

    # What the agent sends

    def test_sends_the_command_line_first_and_to_the_first_program_only(self):
        agent, program = self.connected("--send", '{"op":"start"}', "--send", "raw 0400000000")
        agent.write(b"{malformed")
        self.assertEqual(program.receive_frame(), (1, b'{"op":"start"}'))
        self.assertEqual(program.receive_frame(), (4, b""))
        self.assertEqual(program.receive_frame(), (1, b"{malformed"))
        program.close()
        self.assertEqual(agent.notes.next(), b"vesk-agent: lost")
        second = self.program()
        agent.write(b"keyframe")
        self.assertEqual(second.receive_frame(), (1, b'{"op":"keyframe"}'))

    def test_sends_bytes_unchanged(self):
        with open(self.file("payload"), "wb") as payload:
            payload.write(b"a\n\0b")
        agent, program = self.connected()
        agent.write(b'{"op": "x",  "\xff\x01\0"', b'input {"t":"m"} ', b"input", b"frame 0 00ff",
                    b"frame 9 @" + os.fsencode(self.file("payload")), b"raw 01 ffff")
        self.assertEqual(program.receive_frame(), (1, b'{"op": "x",  "\xff\x01\0"'))
        self.assertEqual(program.receive_frame(), (2, b'{"t":"m"} '))
        self.assertEqual(program.receive_frame(), (2, b""))
        self.assertEqual(program.receive_frame(), (0, b"\0\xff"))
        self.assertEqual(program.receive_frame(), (9, b"a\n\0b"))
        self.assertEqual(program.receive(3), b"\x01\xff\xff")

    def test_sends_the_short_forms(self):
        agent, program = self.connected()
        agent.write('start Zoë "Q"'.encode(), b"move 0.25 1", b"click 1", b"type a\\b", b"key 13")
        expected = [
            (1, '{"op":"start","viewer":"Zoë \\"Q\\"","consent":true,"input":true}'),
            (2, '{"t":"m","e":"move","x":0.25,"y":1.0}'),
            (2, '{"t":"m","e":"down","x":0.25,"y":1.0,"b":1}'),
            (2, '{"t":"m","e":"up","x":0.25,"y":1.0,"b":1}'),
            (2, '{"t":"u","s":"a\\\\b"}'),
            (2, '{"t":"k","e":"down","c":13}'),
            (2, '{"t":"k","e":"up","c":13}'),
        ]
        for kind, text in expected:
            self.assertEqual(program.receive_frame(), (kind, text.encode()))

    def test_holds_commands_until_a_program_connects(self):
        agent = self.agent()
        agent.write(b"nonsense", b"{}", b"# comment", b"stop")
        self.assertEqual(agent.notes.next(),
                         b"vesk-agent: unknown command 'nonsense'; 'help' lists them")
        program = self.program()
        self.assertEqual(program.receive_frame(), (1, b"{}"))
        self.assertEqual(program.receive_frame(), (1, b'{"op":"stop"}'))

    def test_waits_for_a_message(self):
        agent, program = self.connected()
        agent.write(b"wait hello", b"keyframe", b"wait state", b"wait started", b"stop")
        program.send(frame(1, b'{"op":"other"}') + frame(1, HELLO))
        self.assertEqual(program.receive_frame(), (1, b'{"op":"keyframe"}'))
        program.send(frame(1, b'{"op":"state","state":"starting"}') + frame(1, b'{"op":"started"}'))
        self.assertEqual(program.receive_frame(), (1, b'{"op":"stop"}'))

    def test_ends_when_a_wait_times_out(self):
        agent, program = self.connected("--send", "wait started 0.1", "--send", "{}")
        self.assertEqual(agent.status(), 3)
        self.assertEqual(agent.notes.rest(), [b"vesk-agent: no 'started' has come within 100 ms"])
        self.assertTrue(program.is_closed())
        self.assertFalse(os.path.exists(self.path))

    def test_disconnects_and_serves_the_next(self):
        agent, program = self.connected()
        agent.write(b"stop", b"disconnect", b"wait hello", b"keyframe")
        self.assertEqual(program.receive_frame(), (1, b'{"op":"stop"}'))
        self.assertTrue(program.is_closed())
        second = self.program()
        second.send(frame(1, HELLO))
        self.assertEqual(second.receive_frame(), (1, b'{"op":"keyframe"}'))

    def test_stops_reading_and_starts_again(self):
        agent, program = self.connected()
        agent.write(b"stopreading")
        self.assertEqual(agent.notes.next(), b"vesk-agent: reading stopped")
        program.socket.setblocking(False)
        sent = 0
        data = video(1, DELTA) * 1000
        with self.assertRaises(BlockingIOError):  # it comes to a stop, since nobody reads
            while sent < 100_000_000:
                sent += program.socket.send(data[sent % len(data):])
        agent.write(b"keyframe")  # the other direction goes on
        program.socket.settimeout(DEADLINE)
        self.assertEqual(program.receive_frame(), (1, b'{"op":"keyframe"}'))
        agent.write(b"startreading")
        self.assertEqual(agent.notes.next(), b"vesk-agent: reading")
        program.send(data[sent % len(data):] + frame(1, HELLO))
        self.assertEqual(agent.output.next(), HELLO)

    def test_notices_a_lost_program_although_it_has_stopped_reading(self):
        agent, program = self.connected()
        agent.write(b"stopreading")
        self.assertEqual(agent.notes.next(), b"vesk-agent: reading stopped")
        program.send(frame(1, HELLO))
        program.close()
        self.assertEqual(agent.output.next(), HELLO)
        self.assertEqual(agent.notes.next(), b"vesk-agent: lost")

    def test_is_not_held_up_by_a_program_that_does_not_read(self):
        with open(self.file("payload"), "wb") as payload:
            payload.write(b"x" * 5_000_000)
        agent, program = self.connected()
        agent.write(b"frame 2 @" + os.fsencode(self.file("payload")), b"help")
        self.assertIn(b"{...}", agent.notes.next())
        program.send(frame(1, HELLO))
        self.assertEqual(agent.output.next(), HELLO)
        self.assertEqual(program.receive_frame(), (2, b"x" * 5_000_000))

    # The life of the agent

    def test_serves_one_program_after_the_other(self):
        agent, first = self.connected()
        second = self.program()
        second.send(frame(1, b'{"op":"second"}'))
        first.send(frame(1, b'{"op":"first"}'))
        self.assertEqual(agent.output.next(), b'{"op":"first"}')
        first.close()
        self.assertEqual(agent.notes.next(), b"vesk-agent: lost")
        self.assertEqual(agent.notes.next(), b"vesk-agent: connected")
        self.assertEqual(agent.output.next(), b'{"op":"second"}')

    def test_goes_on_without_standard_input_until_a_signal(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with self.subTest(signal=number):
                agent, program = self.connected(stdin=subprocess.DEVNULL)
                program.send(frame(1, HELLO))
                self.assertEqual(agent.output.next(), HELLO)
                agent.process.send_signal(number)
                self.assertEqual(agent.status(), 0)
                self.assertFalse(os.path.exists(self.path))

    def test_quits_at_the_end_of_standard_input_when_asked(self):
        agent = self.agent("--quit-at-end")
        agent.process.stdin.write(b"keyframe\nwait hello\nstop")
        agent.process.stdin.close()
        program = self.program()
        self.assertEqual(program.receive_frame(), (1, b'{"op":"keyframe"}'))
        program.send(frame(1, HELLO))
        self.assertEqual(program.receive_frame(), (1, b'{"op":"stop"}'))
        self.assertEqual(agent.status(), 0)

    def test_ends_with_the_first_connection_when_asked(self):
        agent, program = self.connected("--once")
        program.send(frame(1, HELLO))
        program.close()
        self.assertEqual(agent.status(), 0)
        self.assertEqual(agent.output.rest(), [HELLO])

    def test_says_nothing_but_errors_when_quiet(self):
        agent = self.agent("--quiet", quiet=True)
        agent.write(b"nonsense", b"quit")
        self.assertEqual(agent.status(), 0)
        self.assertEqual(agent.notes.rest(),
                         [b"vesk-agent: unknown command 'nonsense'; 'help' lists them"])

    def test_ends_when_nobody_takes_its_output(self):
        reader, writer = os.pipe()
        os.close(reader)
        with open(writer, "wb") as output:
            agent, program = self.connected(stdout=output)
        program.send(frame(1, HELLO))
        self.assertEqual(agent.status(), 1)
        self.assertEqual(agent.notes.next(), b"vesk-agent: cannot write to standard output")

    def test_replaces_the_socket_of_an_agent_that_was_killed(self):
        first = self.agent()
        first.process.kill()
        first.status()
        self.assertTrue(os.path.exists(self.path))
        self.connected()

    def test_leaves_a_running_agent_alone(self):
        with open(self.file("v"), "wb") as recording:
            recording.write(b"of the first agent")
        agent, program = self.connected()
        status, line = self.refused("--socket", self.path, "--record", self.file("v"))
        self.assertEqual(status, 1)
        self.assertEqual(line, f"vesk-agent: another agent listens at '{self.path}' already\n")
        with open(self.file("v"), "rb") as recording:
            self.assertEqual(recording.read(), b"of the first agent")
        program.send(frame(1, HELLO))
        self.assertEqual(agent.output.next(), HELLO)

    # Arguments

    def test_refuses_bad_arguments(self):
        for arguments, text in (
                (["--bogus"], "unknown argument '--bogus'"),
                (["--socket"], "--socket needs a value behind it"),
                (["--send", "strat"], "--send: unknown command 'strat'; 'help' lists them"),
                (["--socket", "/tmp/" + "x" * 99],
                 "the path of --socket is longer than 103 bytes")):
            with self.subTest(arguments=arguments):
                self.assertEqual(self.refused(*arguments),
                                 (2, f"vesk-agent: {text}; see vesk-agent --help.\n"))

    def test_tells_what_the_system_refuses(self):
        missing = self.file("missing/agent.sock")
        self.assertEqual(self.refused("--socket", missing),
                         (1, f"vesk-agent: cannot listen at '{missing}': its folder does not "
                             "exist\n"))
        missing = self.file("missing/v")
        self.assertEqual(self.refused("--socket", self.path, "--record", missing),
                         (1, f"vesk-agent: cannot write '{missing}': No such file or directory\n"))
        self.assertFalse(os.path.exists(self.path))

    def test_tells_who_may_listen(self):
        os.chmod(self.folder, 0o555)
        self.addCleanup(os.chmod, self.folder, 0o700)
        nobody = {"user": 65534, "group": 65534, "extra_groups": []} if os.getuid() == 0 else {}
        self.assertEqual(self.refused("--socket", self.path, **nobody),
                         (1, f"vesk-agent: cannot listen at '{self.path}': Permission denied; "
                             "start the agent with sudo, or choose a place with --socket\n"))

    def test_helps(self):
        for option, text in (("--help", "Usage: vesk-agent"), ("--version", "vesk-agent ")):
            result = subprocess.run([AGENT, option], capture_output=True, text=True,
                                    timeout=DEADLINE, check=True)
            self.assertTrue(result.stdout.startswith(text))
            self.assertEqual(result.stderr, "")


if __name__ == "__main__":
    unittest.main()
