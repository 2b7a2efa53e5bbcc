"""scripts/package on Linux, up to the build: what it refuses, what it copies, what the changelog becomes."""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest
import unittest.mock

ROOT = pathlib.Path(__file__).resolve().parents[2]
CONTROL = """Source: thing
Maintainer: The Makers <makers@thing.example>
Build-Depends: cmake,
               debhelper-compat (= 13),
               libthing-dev (>= 2)

Package: thing
"""
CHANGELOG = """# Changelog

## Unreleased

- What nobody has yet.

## 1.2.0 - 2026-03-04

- It has a bullet that is long enough to be broken into two lines of Debian's changelog, whose lines are
  shorter than those here.
- It has another.

## 1.1.0 - 2025-12-31

- It began.
"""


class PackageOnLinux(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name) / "project"
        for name in ("scripts/package", "packaging/linux/package", "packaging/linux/debian-changelog"):
            (self.root / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / name, self.root / name)
        self.write("packaging/debian/control", CONTROL)
        self.write("CMakeLists.txt", "project(thing VERSION 1.2.0 LANGUAGES CXX)\n")
        self.write("CHANGELOG.md", CHANGELOG)
        self.write("src/main.cpp", "int main() {}\n")
        self.write("build/dev/main.o", "")
        self.tools = pathlib.Path(folder.name) / "tools"
        self.tools.mkdir()
        self.log = pathlib.Path(folder.name) / "log"
        self.log.write_text("")
        self.tool(self.tools / "dpkg")
        self.tool(self.root / "scripts/setup", f'echo setup "$@" >>"{self.log}"')
        self.tool(self.tools / "dpkg-buildpackage", f'cp -r . "{folder.name}/built"; : >../vesk-thing_1.2.0.deb')
        self.built = pathlib.Path(folder.name) / "built"

    def write(self, path, text):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)

    def tool(self, file, does=""):
        file.write_text(f"#!/bin/sh\n{does}\n")
        file.chmod(0o755)

    def package(self, *arguments, path=None):
        done = subprocess.run([self.root / "scripts/package", *arguments], text=True, capture_output=True,
                              env={**os.environ, "PATH": path or f"{self.tools}:{os.environ['PATH']}"})
        return done.returncode, done.stdout, done.stderr

    def built_files(self):
        return sorted(str(f.relative_to(self.built)) for f in self.built.rglob("*") if f.is_file())

    def test_installs_what_it_builds_with_and_tells_what_it_made(self):
        made = self.root / "build/packages/vesk-thing_1.2.0.deb"
        self.assertEqual(self.package(), (0, f"{made}\n", ""))
        self.assertEqual(self.log.read_text(), "setup cmake debhelper libthing-dev build-essential\n")
        self.assertTrue(made.exists())

    def test_builds_the_files_of_an_archive_without_what_was_built_before(self):
        self.package()
        self.assertEqual(self.built_files(), [
            "CHANGELOG.md", "CMakeLists.txt", "debian/changelog", "debian/control",
            "packaging/linux/debian-changelog", "packaging/linux/package", "scripts/package", "scripts/setup",
            "src/main.cpp"])

    def test_builds_the_files_of_a_repository_without_those_it_ignores(self):
        self.write(".gitignore", "/build/\n/secret\n")
        self.write("secret", "")
        subprocess.run(["git", "init", "--quiet", self.root], check=True)
        subprocess.run(["git", "-C", self.root, "add", "src"], check=True)
        self.write("src/new.cpp", "")
        self.package()
        files = self.built_files()
        self.assertIn("src/main.cpp", files)
        self.assertIn("src/new.cpp", files)
        self.assertNotIn("secret", files)
        self.assertFalse([file for file in files if file.startswith((".git/", "build/"))])

    def test_builds_without_a_file_that_was_deleted(self):
        self.write(".gitignore", "/build/\n")
        self.write("src/old.cpp", "")
        subprocess.run(["git", "init", "--quiet", self.root], check=True)
        subprocess.run(["git", "-C", self.root, "add", "src"], check=True)
        (self.root / "src/old.cpp").unlink()
        self.assertEqual(self.package()[0], 0)

    def test_builds_files_that_nobody_may_write_to(self):
        for file in self.root.rglob("*"):
            if file.is_file():
                file.chmod(file.stat().st_mode & ~0o222)
        self.package()
        self.assertEqual([file for file in self.built_files() if not (self.built / file).stat().st_mode & 0o200], [])

    def test_builds_with_its_own_options_whatever_the_person_builds_with(self):
        self.tool(self.tools / "dpkg-buildpackage", f'env >"{self.log}"; : >../vesk-thing_1.2.0.deb')
        own = {"CXXFLAGS": "-march=native", "CFLAGS": "-O0", "CPPFLAGS": "-DOTHER", "LDFLAGS": "-s", "CC": "other-cc",
               "CXX": "other-c++", "MAKEFLAGS": "-i", "DEB_BUILD_OPTIONS": "noopt", "CMAKE_GENERATOR": "Other",
               "DEB_CXXFLAGS_APPEND": "-Ofast", "HOME": str(self.root)}
        with unittest.mock.patch.dict(os.environ, own):
            self.package()
        known = dict(line.split("=", 1) for line in self.log.read_text().splitlines() if "=" in line)
        self.assertEqual({name for name, value in own.items() if known.get(name) == value}, set())

    def test_builds_once_at_a_time(self):
        made = self.root / "build/packages/vesk-thing_1.2.0.deb"
        second = f': >"{self.log}.first"; "{self.root}/scripts/package" 2>"{self.log}"'
        self.tool(self.tools / "dpkg-buildpackage", f'[ -e "{self.log}.first" ] || {{ {second}; }}\n'
                  ': >../vesk-thing_1.2.0.deb')
        status, _, said = self.package()
        self.assertEqual((status, said), (0, ""))
        self.assertTrue(made.exists())
        self.assertEqual(self.log.read_text(), f"package: packages are being made in {made.parent} already\n")

    def test_says_in_one_line_that_there_is_no_room(self):
        self.tool(self.tools / "tar", "cat >/dev/null; for f in a b; do echo $f: No space left >&2; done; exit 2")
        status, _, said = self.package()
        self.assertEqual(status, 1)
        self.assertRegex(said, r"\Apackage: .+: No space left\n\Z")
        self.assertFalse((self.root / "build/packages/work").exists())

    def test_says_in_one_line_that_there_is_no_room_for_the_build(self):
        self.tool(self.tools / "dpkg-buildpackage", "echo 'as: error: a.o: No space left on device'; exit 2")
        self.assertEqual(self.package(), (1, "", "package: the build failed: no space left in "
                                          f"{self.root}/build/packages\n"))

    def test_leaves_the_packages_of_others_alone(self):
        self.write("out/other_1.deb", "")
        self.write("out/vesk-thing_1.1.0.deb", "")
        self.assertEqual(self.package("--output", self.root / "out")[0], 0)
        self.assertEqual(sorted(f.name for f in (self.root / "out").glob("*.deb")),
                         ["other_1.deb", "vesk-thing_1.2.0.deb"])

    def test_says_in_one_line_what_is_wrong(self):
        for arguments, said in ((["--sign"], "package: unknown: --sign; see README.md\n"),
                                (["--output"], "package: --output needs a folder behind it\n"),
                                (["--output", "src/main.cpp"], "package: cannot write to src/main.cpp\n")):
            self.assertEqual(self.package(*arguments), (1, "", said))
        self.write("CMakeLists.txt", "project(thing VERSION 1.3.0 LANGUAGES CXX)\n")
        self.assertEqual(self.package(), (1, "", "package: CHANGELOG.md does not begin with a release 1.3.0\n"))

    def test_says_where_it_cannot_run(self):
        for tool in ("bash", "dirname", "uname", "env"):
            (self.tools / tool).symlink_to(shutil.which(tool))
        (self.tools / "dpkg").unlink()
        self.assertEqual(self.package(path=str(self.tools)),
                         (1, "", "package: Debian packages are built on Debian or its kin\n"))

    def test_shows_the_error_of_a_build_that_failed(self):
        self.tool(self.tools / "dpkg-buildpackage", "echo a step; echo 'main.cpp:1: error: no'; echo the end; exit 2")
        status, _, said = self.package()
        self.assertEqual(status, 1)
        self.assertEqual(said, "main.cpp:1: error: no\npackage: the build failed; see "
                               f"{self.root}/build/packages/build.log\n")

    def test_makes_debians_changelog_of_the_projects(self):
        self.package()
        self.assertEqual((self.built / "debian/changelog").read_text(), """\
vesk-remote (1.2.0) unstable; urgency=medium

  * It has a bullet that is long enough to be broken into two lines of
    Debian's changelog, whose lines are shorter than those here.
  * It has another.

 -- The Makers <makers@thing.example>  Wed, 04 Mar 2026 00:00:00 +0000

vesk-remote (1.1.0) unstable; urgency=medium

  * It began.

 -- The Makers <makers@thing.example>  Wed, 31 Dec 2025 00:00:00 +0000

""")


class TheFilesOfTheProject(unittest.TestCase):
    def test_list_what_is_built_with_among_all_packages(self):
        control = (ROOT / "packaging/debian/control").read_text()
        needed = re.search(r"Build-Depends:(.*?)\n\n", control, re.S)[1]
        names = re.findall(r"[a-z0-9.+-]+", re.sub(r"\(.*?\)", "", needed).replace("debhelper-compat", "debhelper"))
        listed = {line.split("#")[0].strip() for line in (ROOT / "scripts/packages.txt").read_text().splitlines()}
        self.assertGreater(len(names), 15)
        self.assertEqual([name for name in names + ["build-essential"] if name not in listed], [])

    def test_draw_the_icon_in_the_colours_of_the_alerts(self):
        drawn = (ROOT / "src/platform/linux/alert/AlertIcon.cpp").read_text()
        icon = (ROOT / "packaging/linux/com.vesk.tovarin.screen.svg").read_text()
        colours = {"".join(parts) for parts in re.findall(r"QColor\(0x(..), 0x(..), 0x(..)\)", drawn)}
        self.assertGreater(len(colours), 2)
        self.assertEqual(set(re.findall(r'="#(\w{6})"', icon)) - {"ffffff"}, colours)


if __name__ == "__main__":
    unittest.main()
