"""The agent as a service, as hardened as its package has it, run by a systemd of the test's own."""

import json
import os
import pathlib
import shutil
import socket
import struct
import subprocess
import time
import unittest

from layer import install, lay
from support import output

RUNTIME = pathlib.Path("/run/manager")
SOCKET = pathlib.Path("/run/com.vesk.tovarin.screen.sock")
COMMANDS = pathlib.Path("/run/vesk-agent.commands")
HEADER = struct.Struct("<BI")
CONTROL = 1
# Far beyond what anything takes.
PATIENCE = 30


def wait_until(condition, what):
    deadline = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"waited in vain until {what}")
        time.sleep(0.01)


class AgentUnit(unittest.TestCase):
    def setUp(self):
        # The manager of root's own units: the only one that runs where another system does.
        units = RUNTIME / "systemd/user"
        units.mkdir(parents=True)
        for unit in pathlib.Path("/lib/systemd/system").glob("vesk-agent.*"):
            shutil.copy(unit, units)
        os.environ["XDG_RUNTIME_DIR"] = str(RUNTIME)
        manager = subprocess.Popen(["/lib/systemd/systemd", "--user"], stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        self.addCleanup(manager.wait)
        self.addCleanup(manager.terminate)
        wait_until((RUNTIME / "systemd/private").is_socket, "the manager answers")

    def systemctl(self, *arguments):
        return output("systemctl", "--user", *arguments).strip()

    def connect(self):
        wait_until(SOCKET.is_socket, "the agent listens")
        program = socket.socket(socket.AF_UNIX)
        self.addCleanup(program.close)
        program.settimeout(PATIENCE)
        program.connect(str(SOCKET))
        return program

    def test_listens_obeys_and_has_no_rights_that_it_does_not_need(self):
        pathlib.Path("/home/somebody").touch()
        self.systemctl("start", "vesk-agent.service")
        program = self.connect()
        COMMANDS.write_text("start Ada\n")
        kind, size = HEADER.unpack(program.recv(HEADER.size, socket.MSG_WAITALL))
        self.assertEqual(kind, CONTROL)
        message = json.loads(program.recv(size, socket.MSG_WAITALL))
        self.assertEqual((message["op"], message["viewer"]), ("start", "Ada"))

        self.assertEqual(SOCKET.stat().st_mode & 0o777, 0o666)
        self.assertEqual(COMMANDS.stat().st_mode & 0o777, 0o600)
        process = pathlib.Path("/proc", self.systemctl("show", "--property=MainPID", "--value", "vesk-agent"))
        status = dict(line.split(":\t") for line in (process / "status").read_text().splitlines() if ":\t" in line)
        rights = {name: status[name].strip() for name in ("CapEff", "CapBnd", "NoNewPrivs", "Seccomp")}
        self.assertEqual(rights, {"CapEff": "0" * 16, "CapBnd": "0" * 16, "NoNewPrivs": "1", "Seccomp": "2"})
        self.assertNotEqual(os.readlink(process / "ns/net"), os.readlink("/proc/self/ns/net"))
        self.assertEqual(os.listdir(process / "root/home"), [])

        self.systemctl("stop", "vesk-agent.service", "vesk-agent.socket")
        self.assertFalse(SOCKET.exists())
        self.assertFalse(COMMANDS.exists())


if __name__ == "__main__":
    lay()
    install("vesk-agent")
    unittest.main()
