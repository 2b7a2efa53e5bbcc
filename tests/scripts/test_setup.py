"""scripts/setup, with package tools that write down how they were called."""

import hashlib
import os
import pathlib
import shutil
import subprocess
import tarfile
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


class Setup(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        (self.root / "scripts").mkdir()
        (self.root / "tools").mkdir()
        shutil.copy(ROOT / "scripts/setup", self.root / "scripts/setup")
        self.home = self.root / "build/npm/@some/headers"
        self.tool("dpkg-query", 'echo "ii  cmake"')
        self.tool("apt-get")
        self.tool("id", "echo 0")
        self.tool("npm", f'cp "{self.root}/archive" headers-1.0.0.tgz; echo headers-1.0.0.tgz')
        self.sum = self.archive("1")

    def tool(self, name, does=""):
        file = self.root / "tools" / name
        file.write_text(f'#!/bin/sh\necho {name} "$@" >>"{self.root}/log"\n{does}\n')
        file.chmod(0o755)

    def archive(self, text):
        """An npm package with two files; its SHA-256."""
        for name in ("wanted/a.h", "other/b.h"):
            file = self.root / "package" / name
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_text(text)
        with tarfile.open(self.root / "archive", "w:gz") as archive:
            archive.add(self.root / "package", "package")
        return hashlib.sha256((self.root / "archive").read_bytes()).hexdigest()

    def setup(self, packages, *only):
        (self.root / "scripts/packages.txt").write_text(packages)
        (self.root / "log").write_text("")
        done = subprocess.run([self.root / "scripts/setup", *only], text=True, capture_output=True,
                              env={**os.environ, "PATH": f"{self.root}/tools:{os.environ['PATH']}"})
        calls = [c for c in (self.root / "log").read_text().splitlines() if c.startswith(("apt-get", "npm"))]
        return done.returncode, done.stdout + done.stderr, calls

    def npm(self, words="wanted"):
        return f"npm:@some/headers@1.0.0 {self.sum} {words}\n"

    def test_installs_what_is_missing_and_nothing_else(self):
        self.assertEqual(self.setup("cmake\n"), (0, "", []))
        self.assertEqual(self.setup("cmake  # builds\nninja-build\n"), (0, "", [
            "apt-get update", "apt-get install -y --no-install-recommends ninja-build"]))

    def test_installs_the_packages_that_are_named_alone(self):
        self.assertEqual(self.setup("ninja-build\n" + self.npm(), "cmake", "lintian"), (0, "", [
            "apt-get update", "apt-get install -y --no-install-recommends lintian"]))

    def test_suffers_the_npm_that_is_there(self):
        self.assertEqual(self.setup("cmake\nnpm\n"), (0, "", []))

    def test_unpacks_once_what_is_wanted_of_a_package(self):
        self.assertEqual(self.setup("cmake\n" + self.npm()),
                         (0, "", ["npm pack --silent @some/headers@1.0.0"]))
        self.assertEqual((self.home / "wanted/a.h").read_text(), "1")
        self.assertFalse((self.home / "other").exists())
        self.assertEqual(self.setup("cmake\n" + self.npm()), (0, "", []))
        self.assertEqual(self.setup("cmake\n" + self.npm("wanted other"))[0], 0)
        self.assertTrue((self.home / "other").exists())

    def test_unpacks_nothing_of_a_package_that_is_not_what_it_was(self):
        self.archive("2")
        status, said, _ = self.setup("cmake\n" + self.npm())
        self.assertEqual(status, 1)
        self.assertIn("@some/headers@1.0.0 is not what it was", said)
        self.assertFalse((self.home / "wanted").exists())

    def test_says_what_could_not_be_had(self):
        self.tool("npm", "echo no network >&2; exit 1")
        self.assertEqual(self.setup("cmake\n" + self.npm())[:2],
                         (1, "setup: could not fetch @some/headers@1.0.0: no network\n"))


if __name__ == "__main__":
    unittest.main()
