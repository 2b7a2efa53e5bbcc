"""The job where something that it counts on is missing: it says so in one line, and goes on."""

import os
import pathlib
import re
import subprocess

import world  # first: it knows where the harness lies
import harness
from harness import wait_until
from world import UNIT, World

BLOCK = 4096  # what a file takes at a time


class Hardship(World):
    def setUp(self):
        super().setUp()
        self.agent = self.listen()

    def lines(self, speaker):
        """What it has said, without the times of the log's lines."""
        return [re.sub(r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ ", "", line)
                for line in self.journal.said_by(speaker)]

    def mount_home(self, *options):
        subprocess.run(["mount", *options, self.person.home], check=True)
        # Lazily, since the manager is still there.
        self.addCleanup(subprocess.run, ["umount", "--lazy", self.person.home], check=True)

    def fill(self):
        """Writes to the home until there is no room."""
        with open(self.person.home / "full", "wb", buffering=0) as file:
            try:
                while True:
                    file.write(bytes(BLOCK))
            except OSError:
                pass

    def expect_no_log(self, what, reason):
        """One line says why, and what the program logs reaches the journal."""
        self.assertRegex("\n".join(self.lines("log-folder")),
                         rf"\Avesk-remote: no {what} for the log, whose lines come here: .*: {reason}\Z")
        wait_until(lambda: "Vesk Remote started for anna." in self.lines("vesk-remote"),
                   "the log's lines reach the journal")

    def greet_and_run(self):
        self.begin_session()
        self.agent.connect()
        self.run_session(self.agent)

    def test_an_x_server_that_is_missing_is_waited_for(self):
        # Of a number that no server takes by itself, since others start beside this test.
        display = ":20001"
        self.begin_session(DISPLAY=display)
        wait_until(lambda: int(self.manager.show("NRestarts")) > 1, "the job has tried again")
        for line in self.lines("vesk-remote"):
            self.assertRegex(line, r"^vesk-remote: no display: .+")
        wait_until(lambda: self.manager.show("ExecMainStatus") == "1", "it ends with 1")
        back = self.start(harness.XServer, options=[display])
        self.assertEqual(back.display, display)
        self.agent.connect()

    def test_a_manager_that_knows_of_no_display_starts_nothing(self):
        self.manager("start", UNIT)
        self.assertEqual((self.manager.state(), self.manager.show("ConditionResult")),
                         ("inactive", "no"))

    def test_a_home_that_is_read_only(self):
        self.mount_home("-t", "tmpfs", "-o", "ro,mode=0755", "vesk-test")
        self.greet_and_run()
        self.expect_no_log("folder", "Read-only file system")

    def test_a_disk_that_is_full(self):
        self.mount_home("-t", "tmpfs", "-o", "size=64k,nr_inodes=3,mode=0700,uid=61001",
                        "vesk-test")
        self.fill()
        (self.person.home / "also").touch()
        self.greet_and_run()
        self.expect_no_log("folder", "No space left on device")

    def test_a_disk_that_is_full_though_the_log_is_there(self):
        self.mount_home("-t", "tmpfs", "-o", "size=64k,mode=0700,uid=61001", "vesk-test")
        self.make_log("x" * BLOCK)
        self.fill()
        self.greet_and_run()
        self.assertEqual(self.log_path.read_text(), "x" * BLOCK)
        self.assertEqual(self.lines("log-folder"), [
            f"vesk-remote: no room in {self.log_path.parent}: what the program logs is lost"])

    def make_folder(self):
        self.log_path.parent.mkdir(parents=True)
        for path in (self.log_path.parent, self.log_path.parent.parent):
            os.chown(path, self.person.uid, self.person.uid)

    def make_log(self, text):
        self.make_folder()
        self.log_path.write_text(text)
        os.chown(self.log_path, self.person.uid, self.person.uid)

    def expect_a_log(self):
        """It is written to, and nobody has said that it is not."""
        self.assertIn("Vesk Remote started for anna.", self.log())
        self.assertEqual(self.lines("log-folder"), [])

    def test_a_log_that_is_a_pipe_which_nobody_reads(self):
        self.make_folder()
        os.mkfifo(self.log_path)
        os.chown(self.log_path, self.person.uid, self.person.uid)
        self.greet_and_run()
        self.expect_no_log("file", "No such device or address")

    def test_a_disk_with_room_in_the_log_and_for_no_other_file(self):
        self.mount_home("-t", "tmpfs", "-o", "size=640k,nr_inodes=4,mode=0700,uid=61001",
                        "vesk-test")
        self.make_log("")
        self.assertRaises(OSError, (self.person.home / "also").touch)
        self.greet_and_run()
        self.expect_a_log()

    def test_a_disk_with_no_room_but_what_the_program_gives_back(self):
        self.mount_home("-t", "tmpfs", "-o", "size=6m,mode=0700,uid=61001", "vesk-test")
        self.make_log("x" * (5_000_000 // BLOCK + 1) * BLOCK)
        self.fill()
        self.greet_and_run()
        self.expect_a_log()

    def test_a_folder_of_somebody_elses_that_the_log_is_written_to(self):
        self.make_folder()
        os.chown(self.log_path.parent, 0, 0)
        self.log_path.parent.chmod(0o777)
        self.greet_and_run()
        self.expect_a_log()

    def test_a_log_of_somebody_elses(self):
        self.make_log("")
        os.chown(self.log_path, 0, 0)
        self.log_path.chmod(0o644)
        self.greet_and_run()
        self.expect_no_log("file", "Permission denied")

    def test_a_log_that_leads_nowhere(self):
        self.make_folder()
        self.log_path.symlink_to(self.person.home / "nowhere")
        self.greet_and_run()
        self.expect_no_log("file", "File exists")
        self.assertFalse((self.person.home / "nowhere").exists())

    def test_a_manager_that_knows_of_no_home(self):
        self.change_job("UnsetEnvironment=HOME")
        self.greet_and_run()
        self.expect_a_log()

    def test_a_home_that_does_not_answer(self):
        tool = pathlib.Path("/usr/bin/install")
        with world.missing(str(tool)):
            tool.write_text("#!/bin/sh\nexec sleep 1000\n")
            tool.chmod(0o755)
            self.greet_and_run()
        self.assertEqual(self.lines("log-folder"), [
            f"vesk-remote: no answer within 5 seconds from {self.log_path.parent}"])

    def test_a_program_that_is_missing_is_waited_for(self):
        away = world.PROGRAM + ".away"
        os.rename(world.PROGRAM, away)
        self.addCleanup(lambda: os.path.exists(away) and os.rename(away, world.PROGRAM))
        self.begin_session()
        wait_until(lambda: int(self.manager.show("NRestarts")) > 0, "the job has tried again")
        os.rename(away, world.PROGRAM)
        self.agent.connect()


if __name__ == "__main__":
    world.main()
