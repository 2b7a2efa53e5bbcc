"""How hard the programs are made for whoever finds a mistake in them, read from the programs."""

import re
import unittest

from support import NAMES, PROGRAMS, output, unpacked

LANDING = bytes.fromhex("f30f1efa")
FORTIFIED = ("__memcpy_chk", "__snprintf_chk", "__read_chk", "__readlink_chk", "__memmove_chk", "__memset_chk",
             "__poll_chk", "__vsnprintf_chk", "__fdelt_chk", "__recv_chk", "__mbstowcs_chk")


class Program:
    def __init__(self, name):
        self.path = unpacked(name) / PROGRAMS[name]
        self.header = self.read("--file-header")
        self.segments = self.read("--program-headers")
        self.dynamic = self.read("--dynamic")
        self.symbols = self.read("--dyn-syms")
        (self.debug,) = (unpacked(f"{name}-dbgsym") / "usr/lib/debug").rglob("*.debug")

    def read(self, what, path=None):
        return output("readelf", "--wide", what, path or self.path)

    def own_functions(self):
        """Where the functions lie that other files of the project may call."""
        for line in self.read("--symbols", self.debug).splitlines():
            words = line.split()
            if words[3:5] == ["FUNC", "GLOBAL"] and words[6] != "UND" and words[7].startswith("_ZN"):
                if "4vesk" in words[7] and not words[7].endswith(".cold"):
                    yield int(words[1], 16)

    def code(self):
        """The address of the code, and its bytes."""
        for line in self.read("--sections").splitlines():
            found = re.search(r"\] \.text +PROGBITS +(\w+) (\w+) (\w+)", line)
            if found:
                address, offset, size = (int(number, 16) for number in found.groups())
                return address, self.path.read_bytes()[offset:offset + size]
        raise AssertionError("no code")


class Hardening(unittest.TestCase):
    def each(self):
        for name in NAMES:
            with self.subTest(name):
                yield Program(name)

    def test_lies_where_the_loader_chooses(self):
        for program in self.each():
            self.assertRegex(program.header, r"Type: +DYN \(Position-Independent Executable file\)")
            self.assertRegex(program.dynamic, r"FLAGS_1\).*\bPIE\b")

    def test_lets_nobody_write_to_what_the_loader_has_filled_in(self):
        for program in self.each():
            self.assertIn("GNU_RELRO", program.segments)
            self.assertRegex(program.dynamic, r"\(FLAGS\) +BIND_NOW")
            self.assertRegex(program.dynamic, r"FLAGS_1\).*\bNOW\b")

    def test_executes_nothing_that_can_be_written(self):
        for program in self.each():
            self.assertRegex(program.segments, r"GNU_STACK.* RW +0x")
            self.assertNotRegex(program.segments, r" RWE ")
            self.assertNotIn("TEXTREL", program.dynamic)

    def test_looks_for_libraries_nowhere_but_in_the_system(self):
        for program in self.each():
            self.assertNotRegex(program.dynamic, r"R(UN)?PATH")

    def test_checks_its_stack_and_its_buffers(self):
        for program in self.each():
            self.assertIn("__stack_chk_fail", program.symbols)
            self.assertTrue([name for name in FORTIFIED if name in program.symbols], program.symbols)

    def test_lets_indirect_calls_land_at_functions_alone(self):
        # All of our own. Debian's start files of C programs do not, so no program has the mark for the whole.
        if "X86-64" not in Program(NAMES[0]).header:
            return
        for program in self.each():
            start, code = program.code()
            entries = [code[at - start:at - start + len(LANDING)] for at in program.own_functions()
                       if 0 <= at - start < len(code)]
            self.assertGreater(len(entries), 100)
            self.assertEqual([entry for entry in entries if entry != LANDING], [])


if __name__ == "__main__":
    unittest.main()
