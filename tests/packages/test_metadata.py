"""What others read of the packages: their installer, desktops, systemd and people."""

import configparser
import os
import re
import unittest

from support import LABEL, NAMES, PACKAGES, output, unpacked

UNITS = "lib/systemd/system"


class Metadata(unittest.TestCase):
    def test_satisfies_debians_checker(self):
        output("lintian", "--allow-root", "--fail-on", "error,warning", "--info", "--tag-display-limit", "0",
               *sorted(PACKAGES.glob("vesk-*.deb")))

    def test_satisfies_those_of_desktops(self):
        folder = unpacked("vesk-remote")
        for entry in (f"usr/share/applications/{LABEL}.desktop", f"etc/xdg/autostart/{LABEL}.desktop"):
            self.assertEqual(output("desktop-file-validate", folder / entry), "")
        output("appstreamcli", "validate-tree", "--no-net", "--pedantic", folder)

    def test_names_programs_that_the_package_has(self):
        folder = unpacked("vesk-remote")
        for entry in (f"usr/share/applications/{LABEL}.desktop", f"etc/xdg/autostart/{LABEL}.desktop"):
            parsed = configparser.ConfigParser(interpolation=None)
            parsed.read(folder / entry)
            command = folder / os.path.join("usr/bin", parsed["Desktop Entry"]["Exec"]).lstrip("/")
            self.assertTrue(os.access(command, os.X_OK), command)

    def test_of_the_agents_unit_is_understood_and_leaves_little_to_attack(self):
        folder = unpacked("vesk-agent")
        for unit in ("vesk-agent.service", "vesk-agent.socket"):
            output("systemd-analyze", "verify", "--root", folder, "--man=no", "--recursive-errors=no",
                   f"/{UNITS}/{unit}")
        said = output("systemd-analyze", "security", "--offline=true", "--threshold=15", "--no-pager",
                      folder / UNITS / "vesk-agent.service")
        self.assertIn("Overall exposure level", said)


class ManualPages(unittest.TestCase):
    def page(self, name):
        path = unpacked(name) / f"usr/share/man/man1/{name}.1.gz"
        environment = {**os.environ, "LC_ALL": "C.UTF-8", "MANWIDTH": "200", "MAN_KEEP_FORMATTING": ""}
        return output("man", "--warnings", "--local-file", path, env=environment)

    def test_tell_of_every_option(self):
        for name in NAMES:
            known = set(re.findall(r"(?<!\S)--[a-z-]+", output(unpacked(name) / f"usr/bin/{name}", "--help")))
            self.assertGreaterEqual(known, {"--help", "--version"})
            self.assertEqual(known - set(re.findall(r"--[a-z-]+", self.page(name))), set())

    def test_tell_how_to_ask_for_the_job(self):
        self.assertIn(f"launchctl kickstart gui/UID/{LABEL}", self.page("vesk-remote"))


if __name__ == "__main__":
    unittest.main()
