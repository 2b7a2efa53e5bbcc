"""scripts/check-style refuses what crosses a border of the house or lies in its wrong place, by scripts/check-includes, scripts/check-layout and
scripts/check-names too."""

import importlib.machinery
import importlib.util
import pathlib
import shutil
import subprocess
import sys
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
        for name in (".clang-format", "scripts/check-style", "scripts/check-includes", "scripts/check-layout",
                     "scripts/check-names", "scripts/sources.py", ".ci/run"):
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
        before = (self.root / path).read_text() if (self.root / path).exists() else None
        self.write(path, text)
        status, said = self.check()
        self.assertEqual(status, 1, said)
        self.assertIn(path, said)
        self.assertIn(complaint, said)
        (self.root / path).unlink() if before is None else self.write(path, before)

    def test_lets_a_house_in_order_pass(self):
        self.write(f"{LINUX}/x11/overlay/Strip.h", include("x11/beneath/Patch.h")
                   + '#include "platform/posix/Pipe.h"  // a/b\n')
        self.write("src/link/Message.cpp", "#include <nlohmann/json.hpp>\n#include <vector>\n")
        self.assertEqual(self.check(), (0, ""))

    def test_refuses_formatting(self):
        self.write("src/link/Frame.cpp", "int  x ;\n")
        self.assertEqual(self.check()[0], 1)

    def test_refuses_an_operating_system_in_core_and_seam(self):
        for path in ("src/link/Frame.cpp", "src/platform/InputGate.cpp"):
            for text, complaint in (
                    ("#ifdef __linux__\n#endif\n", "only an operating system could ask for"),
                    ("#if __has_include(<poll.h>)\n#endif\n", "only an operating system could ask for"),
                    ("#include <unistd.h>\n", "must not know of an operating system"),
                    ("#include <dispatch/dispatch.h>\n", "must not know of an operating system"),
                    (include("LinuxProcesses.h"), "must not know of the linux"),
                    ('#include "platform/posix/Pipe.h"\n', "must not know of the posix")):
                with self.subTest(path=path, text=text):
                    self.expect_refusal(path, text, complaint)

    def test_refuses_what_knows_of_what_stands_above_it(self):
        for path, other in (("src/platform/Clock.h", "link/Frame.h"),
                            ("src/platform/posix/User.cpp", "platform/linux/LinuxProcesses.h"),
                            (f"{LINUX}/LinuxProcesses.h", "control/Controller.h"),
                            (f"{LINUX}/LinuxProcesses.h", "platform/macos/Text.h")):
            with self.subTest(path=path, other=other):
                self.expect_refusal(path, f'#include "{other}"\n', "must not know of")

    def test_refuses_ways_around(self):
        for text, complaint in (('#include "../beneath/Patch.h"\n', "leaves its folder"),
                                ('#include "Patch.h"\n', "does not begin at a folder of src"),
                                ("#include HEADER\n", "what a macro says"),
                                ("#include <platform/linux/loop/Queue.h>\n", "in angle brackets"),
                                ("/**/ " + include("alert/Dialog.h"), "must not know of")):
            with self.subTest(text=text):
                self.expect_refusal(f"{LINUX}/x11/screen/Other.h", text, complaint)

    def test_refuses_a_room_that_knows_what_is_not_below_it(self):
        for path, other in (("loop/Queue.h", "picture/Image.h"),
                            ("picture/h264/bits.h", "x11/server/Connection.h"),
                            ("x11/server/Connection.h", "x11/beneath/Patch.h"),
                            ("x11/server/cache/Connection.h", "x11/beneath/Patch.h"),
                            ("x11/beneath/Patch.h", "x11/input/Keyboard.h"),
                            ("x11/overlay/Strip.h", "x11/screen/Stream.h"),
                            ("x11/overlay/Strip.h", "x11/input/Keyboard.h"),
                            ("x11/screen/Stream.h", "alert/Dialog.h"),
                            ("alert/Dialog.h", "x11/XDesktop.h"),
                            ("x11/XDesktop.h", "LinuxProcesses.h"),
                            ("x11/XDesktop.h", "portal/screen/PortalStream.h"),
                            ("portal/PortalDesktop.h", "x11/XDesktop.h")):
            with self.subTest(path=path, other=other):
                self.expect_refusal(f"{LINUX}/{path}", include(other), "must not know of")

    def test_refuses_a_file_that_is_in_no_room(self):
        for path in (f"{LINUX}/cellar/Queue.h", f"{LINUX}/x11/cellar/Queue.h", "src/cellar/Queue.h",
                     "src/platform/other/Queue.h"):
            with self.subTest(path=path):
                self.expect_refusal(path, "struct Queue;\n", ": a folder that is n")

    def test_refuses_a_desktop_in_the_picture(self):
        for header in ("xcb/xcb.h", "QImage", "QtGui/QImage", "QtCore", "pipewire/pipewire.h"):
            with self.subTest(header=header):
                self.expect_refusal(f"{LINUX}/picture/Image.h", f"#include <{header}>\n",
                                    "must not know of a desktop")

    def test_refuses_what_the_agent_and_the_cores_tests_should_not_know(self):
        for path, other in (("agent/Session.cpp", "platform/linux/LinuxProcesses.h"),
                            ("agent/Session.cpp", "control/Controller.h"),
                            ("tests/unit/link/FrameTest.cpp", "platform/posix/Pipe.h"),
                            ("tests/unit/link/FrameTest.cpp", "platform/linux/loop/Queue.h")):
            with self.subTest(path=path, other=other):
                self.write("tests/CMakeLists.txt", "add_executable(unit_tests unit/link/FrameTest.cpp)\n")
                self.expect_refusal(path, f'#include "{other}"\n', "must not know of")
        self.expect_refusal("tests/unit/link/FrameTest.cpp", '#include "../../../src/platform/linux/Queue.h"\n',
                            "leaves its folder")
        self.expect_refusal("agent/Session.cpp", '#include ""\n', "leaves its folder")

    def test_refuses_what_is_no_text(self):
        (self.root / "src/link/Frame.cpp").write_bytes(b"// caf\xe9\n")
        self.assertEqual(self.check(), (1, "src/link/Frame.cpp: it is not in UTF-8\n"))

    def test_is_the_same_wherever_it_is_started(self):
        self.write("src/link/Frame.cpp", "#include <unistd.h>\n")
        done = subprocess.run([self.root / "scripts/check-includes"], cwd=self.root / "src")
        self.assertEqual(done.returncode, 1)

    def test_reads_headers_of_every_name(self):
        self.expect_refusal("src/link/Frame.hpp", "#include <unistd.h>\n", "must not know of an operating system")

    def test_refuses_a_namespace_that_is_not_its_folders(self):
        for name in ("vesk", "vesk::x11", "vesk::x11::screens", "vesk::picture"):
            with self.subTest(name=name):
                self.expect_refusal(f"{LINUX}/x11/screen/Other.h",
                                    f"namespace {name} {{\n}}  // namespace {name}\n",
                                    f"the namespace {name} in the room vesk::x11::screen")
        self.write(f"{LINUX}/x11/screen/Other.h", "namespace vesk::x11::screen::error {\n}\n")
        self.assertNotIn("in the room", self.check()[1])

    def test_refuses_a_test_that_nobody_runs(self):
        self.write("tests/CMakeLists.txt",
                   "# unit/link/FrameTest.cpp\nadd_executable(unit_tests\n  unit/link/OtherTest.cpp)\n")
        self.expect_refusal("tests/unit/link/FrameTest.cpp", "int frame;\n", "a test that is part of no program")
        for named in ("unit/link/FrameTest.cpp", "${PROJECT_SOURCE_DIR}/tests/unit/link/FrameTest.cpp"):
            self.write("tests/CMakeLists.txt", f"add_executable(a {named})\n")
            self.write("tests/unit/link/FrameTest.cpp", "int frame;\n")
            self.assertEqual(self.check(), (0, ""))

    def test_refuses_a_test_of_a_folder_that_is_not_there(self):
        self.write("tests/CMakeLists.txt", "add_executable(a unit/chain/FrameTest.cpp)\n")
        self.expect_refusal("tests/unit/chain/FrameTest.cpp", "int frame;\n", "a test of a folder that is not there")

    def test_refuses_what_nobody_reads_in_a_sitting(self):
        self.write("src/link/Frame.cpp", "int frame();\n" * 400)
        self.assertEqual(self.check(), (0, ""))
        self.expect_refusal("src/link/Frame.cpp", "int frame();\n" * 401, "401 lines; more than 400 want splitting")
        self.expect_refusal("scripts/long", "#!/bin/sh\n" * 401, "401 lines; more than 400 want splitting")

    def test_refuses_an_algorithm_of_ranges_whose_header_is_nowhere(self):
        self.expect_refusal("src/link/Frame.cpp", "auto a = std::ranges::find(b, c);\n",
                            ":1: std::find without <algorithm>")

    def test_sees_names_beside_a_quotation_mark(self):
        self.expect_refusal("src/link/Frame.cpp", "auto a = '\"';\nstd::optional<int> b;\nauto c = '\"';\n",
                            ":2: std::optional without <optional>")

    def test_refuses_a_type_of_ours_whose_header_is_nowhere(self):
        self.write("src/link/Frame.h", "#pragma once\n\nstruct Frame {};\n")
        self.write("src/link/Link.h", '#pragma once\n\n#include "link/Frame.h"\n')
        self.expect_refusal("src/link/Frame.cpp", "\nFrame frame;\n", ":2: Frame without Frame.h")
        self.expect_refusal("src/link/Frame.cpp", "link::Frame frame;\n", ":1: Frame without Frame.h")
        for text in ('#include "link/Link.h"\n\nFrame frame;\n', "class Frame;\nFrame& frame();\n",
                     "template <typename Frame>\nFrame frame;\n", 'auto frame = "Frame";  // Frame\n',
                     "QImage::Frame frame;\n", "::testing::Frame frame;\n", "SubFrame frame;\n"):
            self.write("src/link/Frame.cpp", text)
            self.assertEqual(self.check(), (0, ""), text)

    def test_refuses_a_name_of_the_librarys_whose_header_is_nowhere(self):
        self.write("src/link/Frame.h", "#pragma once\n\n#include <string>\n")
        self.write("src/link/Frame.cpp",
                   '#include "link/Frame.h"\n\n// std::vector\nstd::string name = "std::map";\n')
        self.assertEqual(self.check(), (0, ""))
        for path in ("src/link/Frame.cpp", "tests/link/FrameTest.cpp"):
            self.expect_refusal(
                path, '#include "link/Frame.h"\n\n#include <set>\n\nstd::optional<int> none;\n',
                ":5: std::optional without <optional>")


class Rooms(unittest.TestCase):
    """What a room may know of and does not is no rule of the house: somebody forgot to take it back."""

    def test_know_of_all_that_they_may_know_of(self):
        sys.path.insert(0, str(ROOT / "scripts"))
        loader = importlib.machinery.SourceFileLoader("check_includes", str(ROOT / "scripts/check-includes"))
        check = importlib.util.module_from_spec(importlib.util.spec_from_loader("check_includes", loader))
        loader.exec_module(check)
        known = {room: set() for room in check.ROOMS}
        for path in (ROOT / "src/platform/linux").rglob("*.[ch]*"):
            file = path.relative_to(ROOT / "src").as_posix()
            for line in path.read_text().splitlines():
                include = check.INCLUDE.match(line)
                if include and include["own"] and check.place_of(include["own"]) == "linux":
                    known[check.room_of(file)].add(check.room_of(include["own"]))
        above = {"", *check.DESKTOPS}
        self.assertEqual({room: allowed - known[room] for room, allowed in check.ROOMS.items()
                          if room not in above and allowed - known[room]}, {})


if __name__ == "__main__":
    unittest.main()
