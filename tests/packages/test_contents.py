"""What the packages hold, what they need, and what they say of themselves."""

import gzip
import re
import unittest

from support import LABEL, NAMES, ROOT, dependencies, field, file_of, files_of, output, unpacked

DOCUMENTS = ("changelog.gz", "copyright")
EXPECTED = {
    "vesk-remote": [
        f"/etc/xdg/autostart/{LABEL}.desktop",
        "/usr/bin/vesk-remote",
        f"/usr/lib/systemd/user/{LABEL}.service",
        "/usr/libexec/vesk-remote/launchctl",
        "/usr/libexec/vesk-remote/log-folder",
        "/usr/libexec/vesk-remote/sessions",
        "/usr/libexec/vesk-remote/start-job",
        f"/usr/share/applications/{LABEL}.desktop",
        f"/usr/share/icons/hicolor/scalable/apps/{LABEL}.svg",
        "/usr/share/man/man1/vesk-remote.1.gz",
        f"/usr/share/metainfo/{LABEL}.metainfo.xml",
    ],
    "vesk-agent": [
        "/lib/systemd/system/vesk-agent.service",
        "/lib/systemd/system/vesk-agent.socket",
        "/usr/bin/vesk-agent",
        "/usr/share/doc/vesk-agent/README.md.gz",
        "/usr/share/doc/vesk-agent/protocol.md.gz",
        "/usr/share/man/man1/vesk-agent.1.gz",
    ],
}


def version():
    return re.search(r"project\(.* VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text())[1]


def section(title):
    """The packages below a comment of packages.txt that begins with `title`."""
    text = (ROOT / "scripts/packages.txt").read_text()
    return re.search(rf"\n# {title}[^\n]*\n(.*?)(\n\n|$)", text, re.S)[1].split()


class Contents(unittest.TestCase):
    def test_are_these_files(self):
        for name in NAMES:
            documents = [f"/usr/share/doc/{name}/{file}" for file in DOCUMENTS]
            self.assertEqual(files_of(name), sorted(EXPECTED[name] + documents))

    def test_have_debug_symbols_apart(self):
        for name in NAMES:
            symbols = [file for file in files_of(f"{name}-dbgsym") if file.endswith(".debug")]
            self.assertEqual(len(symbols), 1)
            notes = output("readelf", "--notes", unpacked(name) / f"usr/bin/{name}")
            identity = re.search(r"Build ID: (\w+)", notes)[1]
            self.assertEqual(symbols[0], f"/usr/lib/debug/.build-id/{identity[:2]}/{identity[2:]}.debug")
            self.assertNotIn(".debug_info", output("readelf", "--sections", "--wide",
                                                   unpacked(name) / f"usr/bin/{name}"))

    def test_show_the_same_sources_in_debug_symbols_wherever_they_were_built(self):
        for name in NAMES:
            for package in (name, f"{name}-dbgsym"):
                for path in unpacked(package).rglob("*"):
                    if path.is_file() and not path.is_symlink():
                        self.assertNotIn(str(ROOT).encode(), path.read_bytes(), path)


class Dependencies(unittest.TestCase):
    def test_are_no_development_files_and_no_tools_of_the_tests(self):
        tools = {tool for title in ("checks", "tests on", "tests: programs", "decoding", "making and")
                 for tool in section(title)}
        self.assertIn("xdotool", tools)
        for name in NAMES:
            needed = dependencies(name, ("Pre-Depends", "Depends"))
            self.assertIn("libc6", needed)
            self.assertEqual([tool for tool in needed if tool in tools], [])
            self.assertEqual([n for n in dependencies(name) if n.endswith(("-dev", "-dbg"))], [])

    def test_of_the_agent_are_none_of_the_desktops(self):
        self.assertEqual(dependencies("vesk-agent"), ["libc6", "libgcc-s1", "libstdc++6", "vesk-remote"])

    def test_and_sizes_are_those_of_the_table(self):
        table = (ROOT / "docs/install.md").read_text()
        for name in NAMES:
            row = re.search(rf"\| `{name}` \|([^|]*)\|([^|]*)\|([^|]*)\|([^|]*)\|", table)
            packed, installed, depends, recommends = (cell.strip() for cell in row.groups())
            self.assertEqual(sorted(re.findall(r"`([^`]+)`", depends + " " + recommends)), dependencies(name))
            for told, real in ((packed, file_of(name).stat().st_size // 1024),
                               (installed, int(field(name, "Installed-Size")))):
                self.assertAlmostEqual(int(re.match(r"(\d+) KiB", told)[1]), real, delta=real / 10)


class Versions(unittest.TestCase):
    def test_are_one_everywhere(self):
        for name in NAMES:
            self.assertEqual(field(name, "Version"), version())
            self.assertEqual(output(unpacked(name) / f"usr/bin/{name}", "--version"), f"{name} {version()}\n")
        adapter = unpacked("vesk-remote") / "usr/libexec/vesk-remote/launchctl"
        self.assertEqual(output(adapter, "--version"), f"launchctl (Vesk Remote) {version()}\n")
        metainfo = (unpacked("vesk-remote") / f"usr/share/metainfo/{LABEL}.metainfo.xml").read_text()
        self.assertIn(f'<release version="{version()}" date="', metainfo)

    def test_are_told_of_by_the_changelog(self):
        for name in NAMES:
            with gzip.open(unpacked(name) / f"usr/share/doc/{name}/changelog.gz", "rt") as changelog:
                self.assertTrue(changelog.read().startswith(f"vesk-remote ({version()}) "))


if __name__ == "__main__":
    unittest.main()
