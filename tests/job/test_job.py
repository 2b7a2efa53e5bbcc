"""The job in a person's session: it runs the program, brings it back, and ends it."""

import os
import pathlib
import signal
import stat
import subprocess
import time

import world  # first: it knows where the harness lies
from harness import JOB, Child, wait_until
from world import PROGRAM, UNIT, World, entries_of, written


class JobWorld(World):
    def setUp(self):
        super().setUp()
        self.agent = self.listen()

    def greet(self, **variables):
        """The session begins, and the job's program greets; returns its process."""
        self.begin_session(**variables)
        self.agent.connect()
        return self.manager.program()

    def expect_another(self, program):
        """The job has started the program anew, and that one has greeted."""
        wait_until(lambda: self.manager.program() not in (0, program), "the job has a new process")
        self.agent.disconnect()
        self.agent.connect()


class Job(JobWorld):
    def test_comes_with_the_session_and_goes_with_it(self):
        for _ in range(2):
            self.assertEqual(self.manager.state(), "inactive")
            self.greet()
            self.assertEqual(self.manager.state(), "active")
            self.manager("stop", "graphical-session.target")
            wait_until(lambda: self.manager.state() == "inactive", "the job has ended")
            self.assertEqual(self.manager.show("Result"), "success")
            self.agent.disconnect()

    def test_asks_the_person_and_shows_the_banner(self):
        self.greet()
        self.ask()

    def test_asks_in_the_looks_of_a_desktop(self):
        self.greet(XDG_CURRENT_DESKTOP="GNOME")
        self.ask()
        maps = pathlib.Path(f"/proc/{self.manager.program()}/maps").read_text()
        self.assertIn("libgtk-3.so", maps)

    def ask(self):
        self.agent.say(op="start", consent=True, input=True)
        self.agent.wait_for("state")

        def allow():  # too early a key is no answer
            self.person.run("xdotool", "key", "Return", DISPLAY=self.server.display)
            return self.agent.heard("started")
        wait_until(allow, "the session runs")
        wait_until(lambda: self.client.in_sight() > self.bare, "the banner is in sight")
        self.agent.say(op="stop")
        self.expect_clear()

    def test_a_copy_that_is_killed_is_followed_by_one_that_lets_go(self):
        program = self.greet()
        self.run_and_hold(self.agent)
        began = time.monotonic()
        os.kill(program, signal.SIGKILL)
        self.expect_clear()
        self.assertLess(time.monotonic() - began, 5)  # one, and its start on a busy machine
        self.expect_another(program)

    def test_it_never_gives_up(self):
        program = self.greet()
        for _ in range(6):  # one more than a manager bears by itself
            os.kill(program, signal.SIGKILL)
            self.expect_another(program)
            program = self.manager.program()

    def test_stopped_during_a_session_it_leaves_nothing(self):
        self.greet()
        self.run_and_hold(self.agent)
        self.manager("stop", UNIT)
        self.expect_clear()
        self.assertEqual((self.manager.state(), self.manager.show("Result")),
                         ("inactive", "success"))
        self.assertEqual(self.manager.show("ExecMainStatus"), "0")

    def test_a_copy_started_by_hand_hands_over_and_the_jobs_stays(self):
        program = self.greet()
        copy = self.person.run(PROGRAM, DISPLAY=self.server.display)
        self.assertEqual((copy.returncode, copy.stdout, copy.stderr), (0, "", ""))
        self.assertEqual(self.manager.program(), program)
        self.assertTrue(any(line.startswith("Started outside launchd (pid ") for line in self.log()))

    def test_a_copy_started_by_hand_starts_the_job_that_was_stopped(self):
        self.greet()
        self.manager("stop", UNIT)
        self.agent.disconnect()
        copy = self.person.run(PROGRAM, DISPLAY=self.server.display)
        # On a busy machine the job's copy meets the one that has asked for it, and ends it.
        self.assertIn((copy.returncode, copy.stderr), ((0, ""), (-signal.SIGKILL, "")))
        self.agent.connect()
        self.assertEqual(self.manager.state(), "active")

    def test_it_ends_a_stray_copy(self):
        stray = self.start(Child, [PROGRAM], self.person.environment(
            DISPLAY=self.server.display, XPC_SERVICE_NAME=JOB), cwd="/", **self.person.rights())
        self.agent.connect()
        self.agent.disconnect()
        self.greet()
        self.assertEqual(stray.wait(), -signal.SIGKILL)
        self.assertIn(f"Closing another copy of Vesk Remote (pid {stray.pid}).", self.log())

    def test_writes_its_log_for_the_person_alone_and_nothing_else(self):
        before = written()
        self.greet()
        self.run_session(self.agent)
        self.agent.say(op="stop")
        self.expect_clear()
        self.manager("stop", UNIT)
        self.assertIn("Connected to the Vesk agent.", self.log())
        found = {str(path.relative_to(self.person.home)): stat.S_IMODE(path.stat().st_mode)
                 for path in self.person.home.rglob("*")}
        self.assertEqual(found, {"Library": 0o755, "Library/Logs": 0o700,
                                 "Library/Logs/Vesk Remote.log": 0o600})
        self.assertEqual(written(), before)
        self.assertEqual([entries_of(folder, self.person.uid) for folder in ("/tmp", "/dev/shm")], [[], []])

    def make(self, folder):
        folder.mkdir(mode=0o755)
        os.chown(folder, self.person.uid, self.person.uid)

    def make_log(self):
        self.log_path.write_text("a line of yesterday's\n")
        os.chown(self.log_path, self.person.uid, self.person.uid)
        self.log_path.chmod(0o644)

    def test_a_log_that_others_may_read_is_theirs_no_more(self):
        folder = self.log_path.parent
        for path in (folder.parent, folder):
            self.make(path)
        self.make_log()
        self.greet()
        self.assertEqual([stat.S_IMODE(path.stat().st_mode) for path in (folder, self.log_path)],
                         [0o700, 0o600])
        self.assertEqual(self.log()[0], "line of yesterday's")

    def test_what_a_link_leads_to_keeps_its_mode(self):
        folder = self.person.home / "elsewhere"
        for path in (folder, self.log_path.parent.parent):
            self.make(path)
        self.log_path.parent.symlink_to(folder)
        self.greet()
        self.assertIn("Vesk Remote started for anna.", self.log())
        self.assertEqual(stat.S_IMODE(folder.stat().st_mode), 0o755)
        self.assertEqual(stat.S_IMODE(self.log_path.stat().st_mode), 0o600)


class JobWithoutPermission(JobWorld):
    server_options = ("-extension", "DAMAGE")

    def test_a_fault_ends_it_and_the_job_brings_it_back(self):
        program = self.greet()
        self.agent.say(op="start")
        self.agent.wait_for("fault")
        self.expect_another(program)
        self.assertEqual(self.manager.show("NRestarts"), "1")


if __name__ == "__main__":
    world.main()
