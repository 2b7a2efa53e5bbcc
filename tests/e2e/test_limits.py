"""The program at the limits that the system sets it: no descriptors, no threads."""

import contextlib
import os
import pathlib
import subprocess

import harness
from harness import PROGRAM, wait_until
from xclient import XClient

FAULT = "The Mac could not share its screen: "


class Limits(harness.Case):
    as_user = ()  # what a command is begun with so that the program's user runs it

    def setUp(self):
        super().setUp()
        self.agent = self.start_agent()
        self.prepare_user()
        self.program = self.start_program(*self.command(PROGRAM))
        self.hello = self.agent.next_message()

    def prepare_user(self):
        """The program's user may have its home and the agent's socket."""

    def command(self, *parts):
        """A program and its arguments, for `start_program`."""
        program, *arguments = [*self.as_user, *parts]
        return program, arguments

    @contextlib.contextmanager
    def limit(self, which, number):
        """The running program's own limit, until the end of the block."""
        def set_limit(soft):
            subprocess.run([*self.as_user, "prlimit", f"--pid={self.program.pid}",
                            f"--{which}={soft}:"], check=True)
        before = subprocess.run([*self.as_user, "prlimit", f"--pid={self.program.pid}",
                                 f"--{which}", "--raw", "--noheadings", "--output=SOFT"],
                                check=True, text=True, capture_output=True).stdout.strip()
        set_limit(number)
        yield
        set_limit(before)

    def first_free_descriptor(self):
        used = {int(entry.name) for entry in
                pathlib.Path(f"/proc/{self.program.pid}/fd").iterdir()}
        return min(set(range(len(used) + 1)) - used)

    def sockets(self):
        """The program's sockets, by descriptor, each as what the system names it."""
        found = {}
        for entry in pathlib.Path(f"/proc/{self.program.pid}/fd").iterdir():
            with contextlib.suppress(FileNotFoundError):  # closed meanwhile
                found[int(entry.name)] = os.readlink(entry)
        return {number: name for number, name in found.items() if name.startswith("socket:")}

    def give_the_link_the_lowest_descriptor(self):
        """What the start-up has open for a moment may have kept the link from it."""
        def takes_it():
            before = set(self.sockets().values())
            self.agent.send("disconnect")
            self.assertEqual(self.agent.next_message(), self.hello)
            new = [number for number, name in self.sockets().items() if name not in before]
            return new and max(new) < self.first_free_descriptor()
        wait_until(takes_it, "the link has the lowest descriptor")

    def ask(self, **members):
        """The answer to a start, behind the states on the way to it."""
        self.agent.send({"op": "start", **members})
        while (message := self.agent.next_message())["op"] == "state":
            pass
        return message

    def expect_a_session(self):
        self.assertEqual(self.ask()["op"], "started")
        self.agent.send("stop")

    def expect_to_go_on(self):
        """Idle, with everything as before, and a start works."""
        self.expect_a_session()
        self.agent.send("disconnect")
        self.assertEqual(self.agent.next_message(), self.hello)
        self.assertTrue(self.program.is_running())


class Descriptors(Limits):
    def test_no_session_is_without_its_banner_however_few_are_left(self):
        client = XClient(self.server.display)
        self.addCleanup(client.close)
        bare = client.in_sight()
        answers = set()
        for left in range(16):
            with self.limit("nofile", self.first_free_descriptor() + left):
                answer = self.ask()["op"]
                answers.add(answer)
                if answer == "started":
                    self.assertGreater(client.in_sight(), bare, f"{left} descriptors left")
                self.agent.send("stop")
            wait_until(lambda: client.in_sight() == bare, "the banner is gone")
        self.assertEqual(answers, {"started", "fault"})

    def test_a_start_without_any_left_is_a_plain_fault(self):
        self.expect_a_session()
        self.agent.send("disconnect")
        self.assertEqual(self.agent.next_message(), self.hello)
        with self.limit("nofile", self.first_free_descriptor()):
            for _ in range(3):
                self.assertEqual(self.ask(input=True), {
                    "op": "fault", "message": FAULT + "This program has too many files open."})
        self.expect_to_go_on()
        self.assertEqual(self.log().count("Capture failed: This program has too many files open."),
                         3)

    def test_a_start_with_one_too_few_is_a_fault_or_a_session(self):
        """Wherever on its way the last descriptor goes, there is an answer."""
        self.expect_a_session()
        self.agent.send("disconnect")
        self.assertEqual(self.agent.next_message(), self.hello)
        for more in range(1, 6):
            with self.limit("nofile", self.first_free_descriptor() + more):
                answer = self.ask()
                self.assertNotIn("code", answer)
                self.assertIn(answer["op"], ("fault", "started"))
            self.agent.send("stop", "disconnect")
            self.assertEqual(self.agent.next_message(), self.hello)
        self.expect_to_go_on()

    def test_a_greeting_without_any_left_tells_the_truth(self):
        self.give_the_link_the_lowest_descriptor()
        with self.limit("nofile", self.first_free_descriptor()):
            # The link's own descriptor comes back to it: the new connection takes its place.
            self.agent.send("disconnect")
            self.assertEqual(self.agent.next_message(), self.hello)


class Threads(Limits):
    """Run by a user of its own: the system counts threads by user, and sets no limit to root's."""

    user = 61234

    def prepare_user(self):
        # Where root is only what a user is called in a namespace, there is no other to change to,
        # and that user has a limit.
        if int(pathlib.Path("/proc/self/uid_map").read_text().split()[2]) == 1:
            return
        self.as_user = ("setpriv", f"--reuid={self.user}", f"--regid={self.user}",
                        "--clear-groups")
        for path in (self.home, *self.home.rglob("*")):
            os.chown(path, self.user, self.user)
        harness.SOCKET.chmod(0o666)

    def test_a_start_without_any_left_is_a_plain_fault(self):
        self.expect_a_session()
        with self.limit("nproc", 1):
            for _ in range(3):
                answer = self.ask(input=True)
                self.assertEqual((answer["op"], answer.get("code")), ("fault", None))
                self.assertTrue(answer["message"].startswith(FAULT), answer)
        self.expect_to_go_on()

    def test_a_program_that_gets_none_at_its_start_says_so(self):
        program = self.start_program(*self.command("prlimit", "--nproc=1", PROGRAM))
        self.assertEqual(program.wait(), 1)
        error = program.process.stderr.read()
        self.assertRegex(error, r"^vesk-remote: cannot start: .+\.\n$")


if __name__ == "__main__":
    harness.main()
