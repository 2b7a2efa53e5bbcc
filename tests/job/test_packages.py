"""The packages' life on a machine where somebody is logged in: they come, change and go."""

import os
import pathlib
import re
import subprocess
import sys

import world  # first: it knows where the harness lies
import harness
from harness import wait_until
from layers import FILES, NAMES, dpkg
from world import PROGRAM, UNIT, World, install_packages, written

# The package manager's own: what it knows and has done, and caches that it has others keep.
OWN = re.compile(r"var/(lib/dpkg|log|cache|backups)\b|var/lib/(systemd|swcatalog)\b"
                 r"|usr/share/icons/hicolor/icon-theme.cache|usr/share/applications/mimeinfo.cache"
                 r"|etc/systemd/user$|etc/ld.so.cache$")


def left():
    return {path for path in written() if not OWN.match(path) and not is_bare(path)}


def is_bare(path):
    """A folder of the machine's own that something passed through."""
    return (FILES / path).is_dir() and not (FILES / path).is_symlink()


def newer(folder):
    """The package of the program once more, as the next version."""
    tree = folder / "tree"
    subprocess.run(["dpkg-deb", "--raw-extract",
                    next(pathlib.Path(world.PACKAGES).glob("vesk-remote_*.deb")), tree], check=True)
    control = tree / "DEBIAN/control"
    control.write_text(re.sub(r"(?m)^Version: .*", "Version: 99", control.read_text()))
    with open(tree / PROGRAM[1:], "ab") as program:
        program.write(b"newer")  # behind everything that is loaded
    subprocess.run(["dpkg-deb", "--build", "--root-owner-group", "-Znone", tree, folder],
                   check=True, capture_output=True)
    return folder / next(folder.glob("*.deb"))


class Packages(World):
    def setUp(self):
        self.addCleanup(dpkg, "--purge", *NAMES)
        super().setUp()
        self.untouched = left()

    def begin(self):
        """The packages come while a desktop is there; its job greets."""
        agent = self.listen()
        self.begin_session()
        install_packages()
        agent.connect()
        return agent

    def test_installed_before_the_person_comes_they_greet_their_own_agent(self):
        install_packages()
        agent = self.start(world.PackagedAgent)
        self.begin_session()
        greeting = agent.next_message()
        self.assertEqual((greeting["op"], greeting["user"], greeting["uid"]),
                         ("hello", "anna", self.person.uid))
        agent.send({"op": "start", "input": True})
        wait_until(lambda: agent.next_message()["op"] == "started", "the session runs")
        agent.wait_for_note("video:")

    def test_installed_while_the_person_is_there_they_greet_at_once(self):
        self.begin()
        self.assertEqual(self.manager.state(), "active")

    def test_upgraded_during_a_session_they_leave_nothing_and_run_the_new_program(self):
        agent = self.begin()
        self.run_and_hold(agent)
        program = self.manager.program()
        dpkg("--install", newer(self.person.runtime))
        wait_until(lambda: self.manager.program() not in (0, program), "the job runs the new program")
        self.expect_clear()
        agent.disconnect()
        agent.connect()
        self.assertEqual(os.readlink(f"/proc/{self.manager.program()}/exe"), PROGRAM)

    def test_removed_during_a_session_they_leave_nothing_that_runs_until_they_come_back(self):
        agent = self.begin()
        self.run_and_hold(agent)
        dpkg("--remove", *NAMES)
        self.expect_clear()
        self.assertFalse([line for line in self.command_lines() if "vesk" in line])
        self.assertEqual(self.manager.show("LoadState"), "not-found")
        agent.disconnect()
        install_packages()
        agent.connect()

    def test_upgraded_they_leave_alone_what_was_stopped(self):
        self.begin()
        self.manager("stop", UNIT)
        dpkg("--install", newer(self.person.runtime))
        self.assertEqual(self.manager.state(), "inactive")

    def command_lines(self):
        """What the person's processes are."""
        return [pathlib.Path(f"/proc/{process}/cmdline").read_text()
                for process in self.person.processes()]

    def test_purged_they_leave_no_file_but_the_persons_log(self):
        self.begin()
        dpkg("--purge", *NAMES)
        self.assertEqual(left(), self.untouched)
        self.assertTrue(self.log_path.exists())


if __name__ == "__main__":
    if not world.PACKAGES:
        sys.exit("VESK_PACKAGES names no folder with packages; scripts/package makes them")
    world.main(prepare=lambda: None)
