"""What the job keeps the program from, and what it must not keep it from."""

import json
import pathlib
import shutil

import world  # first: it knows where the harness lies
from harness import wait_until
from world import UNIT, World

PROBE = pathlib.Path(__file__).parent / "probe.py"
FILE = pathlib.Path("/usr/lib/systemd/user") / UNIT

# What the unit's file may say to be understood by every systemd from version 247 on.
KNOWN_TO_247 = {
    "Description", "Documentation", "PartOf", "After", "ConditionUser", "ExecCondition",
    "StartLimitIntervalSec", "Type", "Environment", "ExecStartPre", "ExecStart", "Restart",
    "RestartSec", "TimeoutStopSec", "UMask", "LimitCORE", "NoNewPrivileges",
    "RestrictAddressFamilies", "RestrictNamespaces", "RestrictRealtime", "RestrictSUIDSGID",
    "LockPersonality", "MemoryDenyWriteExecute", "SystemCallArchitectures", "SystemCallFilter",
    "SystemCallErrorNumber", "WantedBy",
}


class Sandbox(World):
    def setUp(self):
        super().setUp()
        self.script = self.person.runtime / "probe.py"
        shutil.copy(PROBE, self.script)
        self.script.chmod(0o644)
        self.answers = self.person.runtime / "answers"

    def probe(self):
        """What the system answers to something else than the program, under the same job."""
        self.change_job("Restart=no", "ExecStart=", f"Environment=OTHER={self.manager.pid}",
                        f"ExecStart=/usr/bin/python3 -B {self.script} {self.answers}")
        self.begin_session()
        wait_until(self.answers.exists, "the probe has its answers")
        return json.loads(self.answers.read_text(encoding="utf-8"))

    def probe_without(self):
        """What it answers the same person where there is no job."""
        self.person.run("/usr/bin/python3", "-B", self.script, self.answers,
                        OTHER=str(self.manager.pid))
        return json.loads(self.answers.read_text(encoding="utf-8"))

    def test_what_the_program_never_does_is_refused(self):
        refused_by_the_job = {
            "internet": "EAFNOSUPPORT", "netlink": "EAFNOSUPPORT", "writable code": "EPERM",
            "data to code": "EPERM", "personality": "EPERM", "set-user-id": "EPERM",
            "trace": "EPERM", "change owner": "EPERM"}
        refused_anyway = {  # to an ordinary user, if not everywhere
            "internet 6": "EAFNOSUPPORT", "packets": "EAFNOSUPPORT", "user namespace": "EPERM",
            "real time": "EPERM", "mount": "EPERM", "set the clock": "EPERM",
            "change root": "EPERM", "write to the system": "EACCES"}
        # It needs threads, ends other copies, and tells them by what they run.
        allowed = dict.fromkeys(("unix", "a thread", "signal", "another's program"), "")
        under_the_job = self.probe()
        self.assertEqual(under_the_job, {
            **refused_by_the_job, **refused_anyway, **allowed, "umask": 0o077,
            "core size": 0, "no new privileges": 1})
        without = self.probe_without()
        self.assertEqual({name for name in refused_by_the_job if without[name]}, set())

    def test_the_manager_has_taken_every_line_of_it(self):
        said = {name: self.manager.show(name) for name in (
            "NoNewPrivileges", "RestrictAddressFamilies", "RestrictRealtime", "RestrictSUIDSGID",
            "LockPersonality", "MemoryDenyWriteExecute", "SystemCallArchitectures", "PrivateTmp",
            "PrivateIPC", "PrivateUsers", "RestrictNamespaces", "UMask", "LimitCORE", "Restart",
            "RestartUSec", "StartLimitIntervalUSec", "TimeoutStopUSec")}
        self.assertEqual(said, {
            "NoNewPrivileges": "yes", "RestrictAddressFamilies": "AF_UNIX",
            "RestrictRealtime": "yes", "RestrictSUIDSGID": "yes", "LockPersonality": "yes",
            "MemoryDenyWriteExecute": "yes", "SystemCallArchitectures": "native",
            "PrivateTmp": "no", "PrivateIPC": "no", "PrivateUsers": "no",
            "RestrictNamespaces": "yes", "UMask": "0077", "LimitCORE": "0", "Restart": "always",
            "RestartUSec": "1s", "StartLimitIntervalUSec": "0",
            "TimeoutStopUSec": "5s"})
        self.assertIn("graphical-session.target", self.manager.show("After").split())
        calls = self.manager.show("SystemCallFilter").split()
        self.assertTrue({"read", "sendmsg", "shmat", "kill"} <= set(calls))
        self.assertFalse({"mount", "ptrace", "setuid", "bpf", "reboot", "chroot"} & set(calls))

    def test_the_file_is_without_a_fault_also_to_an_old_manager(self):
        found = self.person.run("systemd-analyze", "--user", "--man=no", "verify", FILE)
        self.assertEqual((found.returncode, found.stdout, found.stderr), (0, "", ""))
        names = {line.split("=", 1)[0] for line in FILE.read_text(encoding="utf-8").splitlines()
                 if "=" in line and not line.startswith("#")}
        self.assertEqual(names - KNOWN_TO_247, set())


if __name__ == "__main__":
    world.main()
