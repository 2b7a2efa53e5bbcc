"""The running program and its agent: losses, hostile bytes, idleness."""

import pathlib
import random
import signal
import time

import harness


class Reconnecting(harness.Case):
    def test_connects_and_greets_anew_after_every_loss(self):
        agent = self.start_agent()
        self.start_program()
        first = agent.next_message()
        for _ in range(2):
            agent.send("disconnect")
            self.assertEqual(agent.next_message(), first)
        self.assertEqual([line for line in self.log() if "agent" in line],
                         ["Connected to the Vesk agent.", "Lost the Vesk agent; reconnecting."] * 2 +
                         ["Connected to the Vesk agent."])

    def test_outlives_an_agent_that_is_killed(self):
        agent = self.start_agent()
        program = self.start_program()
        agent.next_message()
        agent.end(signal.SIGKILL)
        self.wait_for_log("Lost the Vesk agent; reconnecting.")
        self.assertEqual(self.start_agent().next_message()["op"], "hello")
        self.assertTrue(program.is_running())

    def test_takes_an_oversized_frame_for_a_loss(self):
        agent = self.start_agent()
        self.start_program()
        agent.next_message()
        agent.send("raw 0101001000")
        self.assertEqual(agent.next_message()["op"], "hello")


class HostileFrames(harness.Case):
    def test_survives_ten_thousand_random_frames_without_a_word(self):
        agent = self.start_agent()
        program = self.start_program()
        agent.next_message()
        chance = random.Random(20261121)
        for number in range(10_000):
            agent.send(self.frame(chance, number))
        # The next message is the next greeting: nothing was said before, and all of it was read.
        agent.send("disconnect")
        self.assertEqual(agent.next_message()["op"], "hello")
        self.assertTrue(agent.has_no_message())
        self.assertTrue(program.is_running())
        self.assertEqual(self.log().count("Lost the Vesk agent; reconnecting."), 1)

    def frame(self, chance, number):
        kind = chance.choice([0, 1, 1, 1, 2, 2, 3, 4, 255])
        if number % 3 == 0:
            payload = chance.randbytes(chance.choice([0, 1, 5, 100, 2000]))
        else:
            payload = self.nearly_a_message(chance)
        return f"frame {kind} {payload.hex()}"

    @staticmethod
    def nearly_a_message(chance):
        """A message of the protocol with some of its bytes changed, so that none is a request."""
        text = bytearray(chance.choice([
            b'{"op":"Start","viewer":"Anna","consent":true}', b'{"op":"Stop"}',
            b'{"op":"Keyframe"}', b'{"op":"Bitrate","bitrateKbps":2500}',
            b'{"op":["start"]}', b'{"op":{"op":"start"}}', b'{"type":"start"}',
            b'{"t":"m","e":"down","x":0.5,"y":0.5,"b":0}', b'{"t":"k","c":65,"e":"down"}']))
        for _ in range(chance.randrange(4)):
            text[chance.randrange(len(text))] = chance.randrange(256)
        return bytes(text)


class Idling(harness.Case):
    def tasks(self, program):
        return sorted(pathlib.Path(f"/proc/{program.pid}/task").iterdir())

    def switches(self, program):
        """How often each thread has run, by the thread's name."""
        result = {}
        for task in self.tasks(program):
            fields = dict(line.split(":\t", 1)
                          for line in (task / "status").read_text().splitlines())
            result[task.name + " " + fields["Name"]] = (
                int(fields["voluntary_ctxt_switches"]) + int(fields["nonvoluntary_ctxt_switches"]))
        return result

    def settled(self, program):
        """The counts once they have stopped moving after the start."""
        before = None
        while (now := self.switches(program)) != before:
            before = now
            time.sleep(0.5)  # the length of the measurement
        return now

    def test_no_thread_wakes_up_while_connected(self):
        agent = self.start_agent()
        program = self.start_program()
        agent.next_message()
        before = self.settled(program)
        time.sleep(5)  # the length of the measurement
        self.assertEqual(self.switches(program), before)

    def test_only_the_links_thread_wakes_up_without_an_agent(self):
        program = self.start_program()
        harness.wait_until(self.log, "the log has its first line")
        time.sleep(3)  # start-up is over: more than a whole round of the link
        before = self.switches(program)
        time.sleep(5)  # the length of the measurement
        moved = {name.split(" ")[1]: count - before[name]
                 for name, count in self.switches(program).items() if count != before[name]}
        self.assertEqual(set(moved), {"link"})
        self.assertLessEqual(moved["link"], 4)

    def test_needs_little_memory(self):
        agent = self.start_agent()
        program = self.start_program()
        agent.next_message()
        self.settled(program)
        status = pathlib.Path(f"/proc/{program.pid}/status").read_text()
        resident = int(next(line.split()[1] for line in status.splitlines()
                            if line.startswith("VmRSS")))
        self.assertLessEqual(resident, 40 * 1024, "KiB resident")


if __name__ == "__main__":
    harness.main()
