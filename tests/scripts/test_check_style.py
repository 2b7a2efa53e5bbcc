"""scripts/check-style refuses what crosses a border of the house."""

import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
LINUX = "src/platform/linux"


def include(path):
    return f'#include "platform/linux/{path}"\n'


class CheckStyle(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        subprocess.run(["git", "init", "--quiet", self.root], check=True)
        for name in (".clang-format", "scripts/check-style", ".ci/run"):
            (self.root / name).parent.mkdir(exist_ok=True)
            shutil.copy(ROOT / name, self.root / name)
        self.write(f"{LINUX}/x11/screen/Stream.h", include("picture/Image.h"))
        self.write(f"{LINUX}/makePlatform.cpp", include("x11/XDesktop.h"))
        self.write("src/platform/Clock.h", "struct Clock;\n")
        self.write("src/link/Frame.cpp", '#include "platform/Clock.h"\n')

    def write(self, path, text):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)

    def check(self):
        done = subprocess.run([self.root / "scripts/check-style"], text=True, capture_output=True)
        return done.returncode, done.stderr

    def expect_refusal(self, path, text, complaint):
        self.write(path, text)
        status, said = self.check()
        self.assertEqual(status, 1, said)
        self.assertIn(f"{complaint}: {path}:1:", said)

    def test_lets_a_house_in_order_pass(self):
        self.assertEqual(self.check(), (0, ""))

    def test_refuses_formatting(self):
        self.write("src/link/Frame.cpp", "int  x ;\n")
        self.assertEqual(self.check()[0], 1)

    def test_refuses_an_operating_system_in_the_core(self):
        for text, complaint in (
                ("#ifdef __linux__\n#endif\n", "operating-system condition outside src/platform"),
                ("#include <unistd.h>\n", "operating system in the core"),
                (include("LinuxProcesses.h"), "operating system in the core")):
            with self.subTest(text=text):
                self.expect_refusal("src/link/Frame.cpp", text, complaint)

    def test_refuses_one_platform_in_the_seam(self):
        self.expect_refusal("src/platform/Clock.h", include("LinuxProcesses.h"),
                            "one platform in the seam")

    def test_refuses_a_room_that_knows_what_is_not_below_it(self):
        for path, other in (("loop/Queue.h", "picture/Image.h"),
                            ("picture/h264/bits.h", "x11/server/Connection.h"),
                            ("x11/server/Connection.h", "x11/beneath/Patch.h"),
                            ("x11/beneath/Patch.h", "x11/input/Keyboard.h"),
                            ("x11/overlay/Strip.h", "x11/screen/Stream.h"),
                            ("x11/screen/Stream.h", "alert/Dialog.h"),
                            ("alert/Dialog.h", "x11/XDesktop.h"),
                            ("x11/XDesktop.h", "LinuxProcesses.h")):
            with self.subTest(path=path):
                self.expect_refusal(f"{LINUX}/{path}", include(other),
                                    "a room that must not know of the other")


if __name__ == "__main__":
    unittest.main()
