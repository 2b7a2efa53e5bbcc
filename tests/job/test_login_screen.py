"""The session of a login screen, which is nobody's: its user is one of the system's own."""

import pathlib
import subprocess

import world  # first: it knows where the harness lies
from harness import PATIENCE
from world import UNIT, Person, World

FILE = pathlib.Path("/usr/lib/systemd/user") / UNIT


class LoginScreen(World):
    person_is = ("greeter", 110)

    def test_has_no_job(self):
        self.begin_session()
        self.manager("start", UNIT)
        self.assertEqual((self.manager.state(), self.manager.show("ConditionResult")),
                         ("inactive", "no"))
        self.assertFalse(list(self.person.home.iterdir()))

    def allows(self, rights):
        """Whether a user with these has the job, as far as it depends on the user."""
        lines = [line for line in FILE.read_text(encoding="utf-8").splitlines()
                 if line.startswith("ConditionUser=")]
        return subprocess.run(["systemd-analyze", "condition", *lines], capture_output=True,
                              timeout=PATIENCE, **rights).returncode == 0

    def test_is_told_from_whoever_else_logs_in(self):
        anna = Person("anna", 61001)
        self.assertEqual([self.allows(rights) for rights in (
            self.person.rights(), anna.rights(), {"user": 0, "group": 0})], [False, True, True])


if __name__ == "__main__":
    world.main()
