"""The program from its start to its greeting, and how it ends when it cannot start."""

import os
import pathlib
import pwd
import re
import shutil
import signal
import stat
import subprocess

import harness
from harness import JOB, PROGRAM, wait_until
from hiding_server import HidingServer

USER = pwd.getpwuid(os.getuid()).pw_name


class CommandLine(harness.Case):
    def run_program(self, *arguments, **changes):
        result = subprocess.run([PROGRAM, *arguments], env=self.environment(**changes),
                                capture_output=True, text=True, timeout=harness.PATIENCE)
        return result.returncode, result.stdout, result.stderr

    def test_help_and_version_answer_without_a_display(self):
        status, output, error = self.run_program("--help", DISPLAY=None)
        self.assertEqual((status, error), (0, ""))
        self.assertTrue(output.startswith("Usage: vesk-remote"))
        status, output, error = self.run_program("--version", DISPLAY=None)
        self.assertEqual((status, error), (0, ""))
        self.assertRegex(output, r"^vesk-remote \d+\.\d+\.\d+\n$")

    def test_an_unknown_argument_gets_one_line(self):
        status, output, error = self.run_program("--verbose")
        self.assertEqual((status, output), (2, ""))
        self.assertEqual(error, "vesk-remote: unknown argument '--verbose'; see vesk-remote --help.\n")

    def test_no_display_gets_one_line(self):
        for display in (None, "", ":65535", "nonsense"):
            status, output, error = self.run_program(DISPLAY=display)
            self.assertEqual((status, output), (1, ""), display)
            self.assertRegex(error, r"\Avesk-remote: no display: .+\n\Z")
        status, output, error = self.run_program(DISPLAY=None, WAYLAND_DISPLAY="wayland-65535")
        self.assertEqual((status, output), (1, ""))
        self.assertRegex(error, r"\Avesk-remote: no display: the Wayland compositor at "
                                r"WAYLAND_DISPLAY=wayland-65535 does not answer; .+\n\Z")
        self.assertEqual(self.log(), [])

    def test_a_compositor_that_is_not_there_leaves_the_x_server(self):
        self.start_program(WAYLAND_DISPLAY="wayland-65535")
        self.wait_for_log("The desktop is an X server.")


class BrokenPipes(harness.Case):
    """Nobody reads what the program writes."""

    def setUp(self):
        super().setUp()
        read_end, self.pipe = os.pipe()
        os.close(read_end)
        self.addCleanup(os.close, self.pipe)

    def test_the_answers_on_the_command_line_end_as_ever(self):
        for arguments, status in ((["--help"], 0), (["--verbose"], 2)):
            ended = subprocess.run([PROGRAM, *arguments], env=self.environment(),
                                   stdout=self.pipe, stderr=self.pipe, timeout=harness.PATIENCE)
            self.assertEqual(ended.returncode, status)

    def test_lines_that_reach_nobody_end_nothing(self):
        shutil.rmtree(self.home / "Library")  # so that they go to standard error
        agent = self.start_agent()
        program = self.start(harness.Child, [PROGRAM], self.environment(), stdout=self.pipe,
                             stderr=self.pipe)
        for _ in range(3):
            self.assertEqual(agent.next_message()["op"], "hello")
            agent.send("disconnect")
        self.assertTrue(program.is_running())


class ServerThatStartsAnew(harness.Case):
    """An X server does so when its last client leaves, and then the next one may find it gone."""

    def test_every_start_is_a_whole_one(self):
        server = self.start(harness.XServer, self.screen, starts_anew=True)
        agent = self.start_agent()
        for number in range(30):
            program = self.start_program(DISPLAY=server.display)
            self.assertEqual(agent.next_message()["op"], "hello", number)
            self.assertTrue(program.is_running(), number)
            program.end()

    def test_it_is_not_left_alone_from_the_first_connection_on(self):
        server = HidingServer(self.server.display)
        agent = self.start_agent()
        program = self.start_program(DISPLAY=server.display)
        self.assertEqual(agent.next_message()["op"], "hello")
        self.assertFalse(server.was_left_alone)
        program.end()
        server.end()


class Greeting(harness.Case):
    def test_greets_an_agent_that_is_there(self):
        agent = self.start_agent()
        self.start_program()
        self.assertEqual(agent.next_message(), {
            "op": "hello", "user": USER, "uid": os.getuid(),
            "screenRecording": True, "accessibility": True})
        # In whichever order: one is the link's own thread's.
        self.wait_for_log("Connected to the Vesk agent.")
        self.wait_for_log("The desktop is an X server.")
        self.assertEqual(sorted(self.log()), ["Connected to the Vesk agent.",
                                              "The desktop is an X server.",
                                              f"Vesk Remote started for {USER}."])

    def test_runs_on_without_an_agent_and_greets_one_that_comes(self):
        program = self.start_program()
        self.wait_for_log("The desktop is an X server.")
        agent = self.start_agent()
        self.assertEqual(agent.next_message()["op"], "hello")
        self.assertTrue(program.is_running())
        self.assertEqual(self.log(), [f"Vesk Remote started for {USER}.",
                                      "The desktop is an X server.",
                                      "Connected to the Vesk agent."])

    def test_logs_to_standard_error_without_a_log_folder(self):
        shutil.rmtree(self.home / "Library")
        program = self.start_program()
        line = program.process.stderr.readline()
        self.assertRegex(line, rf"^\d{{4}}-\d\d-\d\dT\d\d:\d\d:\d\dZ Vesk Remote started for {USER}\.$")
        self.assertFalse((self.home / "Library").exists())

    def test_ends_with_its_display(self):
        program = self.start_program()
        self.wait_for_log(f"Vesk Remote started for {USER}.")
        self.server.end()
        self.assertEqual(program.wait(), 1)
        error = program.process.stderr.read()
        self.assertEqual(error.count("\n"), 1, error)


class GreetingWithoutXTest(harness.Case):
    server_options = ("-extension", "XTEST")

    def test_tells_that_input_cannot_be_posted(self):
        agent = self.start_agent()
        self.start_program()
        hello = agent.next_message()
        self.assertEqual((hello["screenRecording"], hello["accessibility"]), (True, False))


class GreetingWithoutDamage(harness.Case):
    server_options = ("-extension", "DAMAGE")

    def test_tells_that_the_screen_cannot_be_recorded(self):
        agent = self.start_agent()
        self.start_program()
        hello = agent.next_message()
        self.assertEqual((hello["screenRecording"], hello["accessibility"]), (False, True))


class HandOver(harness.Case):
    """A job tool that writes down how it was called stands where the system's would."""

    job_tool = pathlib.Path("/bin/launchctl")

    def setUp(self):
        super().setUp()
        self.calls = self.home / "calls"

    def install_job_tool(self, status=0):
        self.job_tool.write_text(f'#!/bin/sh\necho "$#: $*" >>"{self.calls}"\nexit {status}\n')
        self.job_tool.chmod(stat.S_IRWXU)
        self.addCleanup(self.job_tool.unlink)

    def expect_hand_over(self, **changes):
        agent = self.start_agent()
        program = self.start_program(**changes)
        self.assertEqual(program.wait(), 0)
        self.assertEqual(self.log(), [f"Started outside launchd (pid {program.pid}); "
                                      f"handing over to {JOB} and quitting."])
        self.assertTrue(agent.has_no_message())

    def test_asks_for_the_job_when_started_by_hand(self):
        self.install_job_tool()
        self.expect_hand_over(XPC_SERVICE_NAME=None)
        self.assertEqual(self.calls.read_text(), f"2: kickstart gui/{os.getuid()}/{JOB}\n")

    def test_asks_for_the_job_when_another_job_started_it(self):
        self.install_job_tool(status=3)
        self.expect_hand_over(XPC_SERVICE_NAME="com.vesk.other")
        self.assertEqual(self.calls.read_text(), f"2: kickstart gui/{os.getuid()}/{JOB}\n")

    def test_the_job_tool_has_signals_as_any_program(self):
        self.job_tool.write_text(f'#!/bin/sh\ngrep SigIgn /proc/self/status >"{self.calls}"\n')
        self.job_tool.chmod(stat.S_IRWXU)
        self.addCleanup(self.job_tool.unlink)
        self.expect_hand_over(XPC_SERVICE_NAME=None)
        ignored = int(self.calls.read_text().split()[1], 16)
        self.assertFalse(ignored & 1 << signal.SIGPIPE - 1)

    def test_ends_well_where_there_is_no_job_tool(self):
        self.expect_hand_over(XPC_SERVICE_NAME=None)


class OtherCopies(harness.Case):
    def start_copy(self, folder):
        """The program from another place, as a stray copy; up to the line that says it runs."""
        (self.home / folder / "Library" / "Logs").mkdir(parents=True)
        program = self.home / folder / "vesk-remote"
        shutil.copy(PROGRAM, program)
        return program

    def test_closes_every_other_copy(self):
        # Two copies that would close each other if they were the program: the file name decides.
        copies = []
        for folder in ("one", "two"):
            program = self.start_copy(folder)
            shutil.copy("/bin/sleep", program)
            copies.append(self.start(harness.Child, [program, "600"]))
            link = pathlib.Path(f"/proc/{copies[-1].pid}/exe")
            wait_until(lambda: os.readlink(link) == str(program), "the copy runs")
        program.unlink()  # as an upgrade does
        self.start_program()
        for copy in copies:
            self.assertEqual(copy.wait(), -signal.SIGKILL)
        self.wait_for_log(f"Vesk Remote started for {USER}.")
        pids = sorted(copy.pid for copy in copies)
        self.assertEqual(self.log()[:2], [f"Closing another copy of Vesk Remote (pid {pid})."
                                          for pid in pids])

    @staticmethod
    def loader():
        """The dynamic loader that the program asks for."""
        text = subprocess.run(["readelf", "--program-headers", PROGRAM], check=True, text=True,
                              capture_output=True).stdout
        return re.search(r"interpreter: (.+)\]", text)[1]

    def start_by_loader(self, program, *arguments):
        """A program as an argument of the loader, which the system takes for what runs."""
        child = self.start(harness.Child, [self.loader(), program, *arguments],
                           self.environment(), stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                           text=True)
        maps = pathlib.Path(f"/proc/{child.pid}/maps")
        wait_until(lambda: str(program) in maps.read_text(), f"{program} runs")
        return child

    def test_what_the_loader_has_started_besides_lives_on(self):
        stranger = self.start_by_loader("/usr/bin/sleep", "600")
        self.start_by_loader(PROGRAM)
        self.wait_for_log(f"Vesk Remote started for {USER}.")
        self.start_program()
        wait_until(lambda: self.log().count(f"Vesk Remote started for {USER}.") == 2,
                   "the next one runs")
        self.assertTrue(stranger.is_running())
        self.assertFalse(any(f"(pid {stranger.pid})" in line for line in self.log()))

    def test_copies_find_each_other_whichever_way_they_were_started(self):
        agent = self.start_agent()
        last = self.start_by_loader(PROGRAM)
        self.assertEqual(agent.next_message()["op"], "hello")
        for start in (self.start_program, lambda: self.start_by_loader(PROGRAM),
                      lambda: self.start_by_loader(PROGRAM)):
            now = start()
            self.assertEqual(last.wait(), -signal.SIGKILL)
            self.assertEqual(agent.next_message()["op"], "hello")
            last = now

    def test_a_new_start_by_the_job_replaces_the_running_one(self):
        agent = self.start_agent()
        first = self.start_program()
        self.assertEqual(agent.next_message()["op"], "hello")
        self.start_program()
        self.assertEqual(first.wait(), -signal.SIGKILL)
        self.assertEqual(agent.next_message()["op"], "hello")


if __name__ == "__main__":
    harness.main()
