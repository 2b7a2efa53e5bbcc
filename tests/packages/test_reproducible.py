"""Who builds the packages again, elsewhere and as somebody else in another part of the world, gets the same bytes."""

import concurrent.futures
import os
import pathlib
import tempfile
import unittest

from support import PACKAGES, ROOT, output


class Reproducible(unittest.TestCase):
    def test_the_same_files_give_the_same_bytes(self):
        with tempfile.TemporaryDirectory(prefix="vesk-built-again-") as folder:
            elsewhere = {**os.environ, "TZ": "Pacific/Kiritimati", "LC_ALL": "C", "HOME": folder, "USER": "anna"}
            # What was compiled once would be the same of course.
            elsewhere.pop("CMAKE_CXX_COMPILER_LAUNCHER", None)
            # At once, since a build keeps one processor busy for half of its time.
            with concurrent.futures.ThreadPoolExecutor() as both:
                there = both.submit(output, ROOT / "scripts/package", "--output", folder, env=elsewhere, umask=0o077)
                output(ROOT / "scripts/package", "--output", PACKAGES)
                there.result()
            again = {file.name: file.read_bytes() for file in pathlib.Path(folder).glob("*.deb")}
        first = {file.name: file.read_bytes() for file in PACKAGES.glob("vesk-*.deb")}
        self.assertEqual(sorted(first), sorted(again))
        self.assertEqual([name for name in first if first[name] != again[name]], [])


if __name__ == "__main__":
    unittest.main()
