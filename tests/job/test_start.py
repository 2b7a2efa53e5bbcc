"""The ways to ask for the job: the tool that stands at /bin/launchctl, and the autostart entry."""

import os
import pathlib
import secrets
import shlex
import struct

import world  # first: it knows where the harness lies
import harness
from harness import JOB, wait_until
from world import ADAPTER, UNIT, Person, World, missing

SYSTEMCTL = "/usr/bin/systemctl"
ENTRY = pathlib.Path("/etc/xdg/autostart") / f"{JOB}.desktop"


class Adapter(World):
    def setUp(self):
        super().setUp()
        self.target = f"gui/{self.person.uid}/{JOB}"

    def kickstart(self, *arguments, **changes):
        return self.person.run(ADAPTER, "kickstart", *arguments, **changes)

    def test_starts_the_job_whether_it_runs_or_not(self):
        agent = self.listen()
        self.begin_session()
        agent.connect()
        program = self.manager.program()
        self.expect_success(self.kickstart(self.target))
        self.manager("start", UNIT)  # behind whatever the manager was asked for
        self.assertEqual(self.manager.program(), program)
        self.manager("stop", UNIT)
        self.expect_success(self.kickstart(self.target))
        wait_until(lambda: self.manager.program() not in (0, program), "the job runs")

    def expect_success(self, result):
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))

    def test_knows_its_way_from_a_bare_shell(self):
        self.begin_session()
        self.manager("stop", UNIT)
        self.expect_success(self.kickstart(self.target, XDG_RUNTIME_DIR=None, PATH=""))
        wait_until(lambda: self.manager.state() == "active", "the job runs")

    def test_does_nothing_else_and_says_so_in_one_line(self):
        self.begin_session()
        # Told to stop while it makes ready, it would count as failed.
        wait_until(lambda: self.manager.state() == "active", "the job runs")
        self.manager("stop", UNIT)
        for arguments in (
                [], ["list"], ["kickstart"], ["kickstart", "-k", self.target], ["bootout", self.target],
                ["kickstart", self.target, "more"], ["kickstart", f"gui/0/{JOB}"],
                ["kickstart", f"gui/{self.person.uid}/com.vesk.other"],
                ["kickstart", f"user/{self.person.uid}/{JOB}"], ["kickstart", self.target + "\n"]):
            self.expect_one_line(self.person.run(ADAPTER, *arguments), 2,
                                 f"launchctl: this one only does: launchctl kickstart {self.target}")
        self.assertEqual(self.manager.state(), "inactive")

    def test_tells_its_version_and_its_use(self):
        version = self.person.run(world.PROGRAM, "--version").stdout.split()[-1]
        self.assertEqual(self.person.run(ADAPTER, "--version").stdout,
                         f"launchctl (Vesk Remote) {version}\n")
        self.assertEqual(self.person.run(ADAPTER, "--help").stdout,
                         f"Usage: launchctl kickstart {self.target}\n")

    def test_says_that_the_manager_knows_of_no_display(self):
        self.manager("set-environment", "ONE=DISPLAY=:0", "TWO=a\nDISPLAY=:0", "THREE=a\\nDISPLAY=:0")
        self.expect_one_line(self.kickstart(self.target), 1, "launchctl: the job is not started: "
                             "its manager knows of no display")

    def test_starts_nothing_without_a_display(self):
        ran = self.person.runtime / "ran"
        self.change_job("ExecStart=", f"ExecStart=/usr/bin/touch {ran}", "Restart=no")
        self.manager("start", UNIT)
        self.assertFalse(ran.exists())
        self.manager("set-environment", "WAYLAND_DISPLAY=wayland-65000")
        self.manager("start", UNIT)
        wait_until(ran.exists, "the job has run")

    def test_takes_a_compositor_for_a_display(self):
        self.manager("set-environment", "WAYLAND_DISPLAY=wayland-65000")
        self.change_job("ExecStart=", "ExecStart=/usr/bin/sleep 60")
        result = self.kickstart(self.target)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        wait_until(lambda: self.manager.state() == "active", "the job runs")

    def test_says_that_there_is_no_manager(self):
        self.expect_one_line(self.kickstart(self.target, XDG_RUNTIME_DIR="/run/user/0"), 1,
                             "launchctl: the job does not start: Failed to connect to bus: .+")

    def test_says_that_there_is_no_systemd(self):
        with missing(SYSTEMCTL):
            self.expect_one_line(self.kickstart(self.target), 1, "launchctl: no systemd here, which runs the "
                                 "job: nothing is started")

    def test_another_user_starts_a_job_of_their_own_alone(self):
        agent = self.listen()
        self.begin_session()
        agent.connect()
        program = self.manager.program()
        other = Person("berta", 61002)
        other.move_in()
        self.addCleanup(other.move_out)
        self.expect_one_line(other.run(ADAPTER, "kickstart", self.target), 2,
                             f"launchctl: this one only does: launchctl kickstart gui/61002/{JOB}")
        copy = self.start(harness.Child, [world.PROGRAM], other.environment(
            DISPLAY=self.server.display, XPC_SERVICE_NAME=JOB), **other.rights())
        # It is served as soon as the first is gone, which it has not ended.
        log = other.home / "Library/Logs/Vesk Remote.log"
        agent.disconnect()
        agent.connect()
        self.assertEqual(self.manager.program(), program)
        self.assertTrue(copy.is_running())
        self.assertFalse(log.exists())


class Autostart(World):
    """A desktop that starts no target but what stands in the autostart folder."""

    def setUp(self):
        super().setUp()
        self.agent = self.listen()

    def command(self):
        lines = ENTRY.read_text(encoding="utf-8").splitlines()
        return shlex.split(next(line for line in lines if line.startswith("Exec="))[5:])

    def start_entry(self, **variables):
        return self.person.run(*self.command(), **variables)

    def expect_success(self, result):
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))

    def test_starts_the_job_on_the_sessions_display(self):
        self.expect_success(self.start_entry(DISPLAY=self.server.display))
        self.agent.connect()
        self.assertEqual(self.manager.state(), "active")
        self.assertEqual(self.manager("is-active", "graphical-session.target", check=False),
                         "inactive")

    def expect_no_change(self):
        """From another display than the one that the job is on."""
        self.agent.connect()
        program = self.manager.program()
        known = self.manager("show-environment")
        self.expect_success(self.start_entry(DISPLAY=":65000"))
        self.assertEqual((self.manager.program(), self.manager("show-environment")),
                         (program, known))

    def test_changes_nothing_where_the_desktop_starts_the_target(self):
        self.begin_session()
        self.expect_no_change()

    def test_leaves_the_job_to_the_session_that_it_serves(self):
        self.expect_success(self.start_entry(DISPLAY=self.server.display))
        self.expect_no_change()

    def test_takes_the_job_from_a_session_that_it_does_not_serve(self):
        # Which shows when it ends: it lasts for a moment each time.
        self.change_job("ExecStart=", "ExecStart=/usr/bin/sleep 1", "RestartSec=50ms")
        self.manager("set-environment", "DISPLAY=:65000")
        self.manager("start", UNIT)
        self.expect_success(self.start_entry(DISPLAY=self.server.display))
        self.assertIn(f"DISPLAY={self.server.display}",
                      self.manager("show-environment").splitlines())

    def test_takes_nothing_from_an_earlier_session(self):
        self.manager("set-environment", "DISPLAY=:65000", "XAUTHORITY=/run/gone")
        self.expect_success(self.start_entry(DISPLAY=self.server.display))
        self.agent.connect()
        self.assertNotIn("/run/gone", self.manager("show-environment"))

    def test_hands_on_where_the_compositor_is(self):
        self.change_job("ExecStart=", "ExecStart=/usr/bin/sleep 60")
        self.manager("set-environment", "DISPLAY=:65000", "WAYLAND_DISPLAY=wayland-65000")
        self.expect_success(self.start_entry(WAYLAND_DISPLAY="wayland-1"))
        known = self.manager("show-environment").splitlines()
        self.assertIn("WAYLAND_DISPLAY=wayland-1", known)
        self.assertNotIn("DISPLAY=:65000", known)
        self.assertEqual(self.manager.state(), "active")

    def test_sessions_that_systemd_runs_leave_it_out(self):
        self.assertIn("X-systemd-skip=true", ENTRY.read_text(encoding="utf-8").splitlines())

    def test_says_what_is_missing_in_one_line(self):
        display = self.server.display
        self.expect_one_line(self.start_entry(), 1,
                             "vesk-remote: no display here, so the job is not started")
        with missing(SYSTEMCTL):
            self.expect_one_line(
                self.start_entry(DISPLAY=display), 1,
                "vesk-remote: no systemd here, which runs the job: nothing is started")
        self.expect_one_line(
            self.start_entry(DISPLAY=display, XDG_RUNTIME_DIR="/run/user/0"), 1,
            "vesk-remote: the job, which systemd runs, does not start: Failed to .+")


class GuardedAutostart(Autostart):
    """The X server lets in nobody without its cookie, which the session's XAUTHORITY holds."""

    def setUp(self):
        cookie = secrets.token_bytes(16)
        name = b"MIT-MAGIC-COOKIE-1"
        self.cookies = pathlib.Path("/run/cookies")
        self.cookies.write_bytes(struct.pack(f">HHHH{len(name)}sH16s", 0xFFFF, 0, 0, len(name),
                                             name, len(cookie), cookie))
        self.cookies.chmod(0o644)
        os.environ["XAUTHORITY"] = str(self.cookies)
        self.addCleanup(os.environ.pop, "XAUTHORITY")
        self.server_options = ("-auth", self.cookies)
        super().setUp()

    def start_entry(self, **variables):
        return super().start_entry(XAUTHORITY=str(self.cookies), **variables)

    def begin_session(self, **variables):
        super().begin_session(XAUTHORITY=str(self.cookies), **variables)

    def refusals(self):
        return sum(line.startswith("vesk-remote: no display: ")
                   for line in self.journal.said_by("vesk-remote"))

    def test_a_server_that_lets_nobody_in_is_tried_again(self):
        self.manager("set-environment", f"DISPLAY={self.server.display}")
        self.manager("start", UNIT)
        wait_until(lambda: self.refusals() > 1, "it was tried twice")
        self.expect_success(self.start_entry(DISPLAY=self.server.display))
        self.agent.connect()


if __name__ == "__main__":
    world.main()
