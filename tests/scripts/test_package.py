"""scripts/package on a Mac, with tools that write down how they were called."""

import os
import pathlib
import plistlib
import shutil
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
MAC = ROOT / "packaging/macos"
TOOLS = ("codesign", "lipo", "pkgbuild", "productbuild", "xcrun")
BUNDLE = "build/package/root/Applications/Vesk Remote.app"
PROGRAM = f"{BUNDLE}/Contents/MacOS/Vesk Remote"
PACKAGE = "build/package/Vesk-Remote-1.2.3.pkg"


class PackageOfAMac(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        shutil.copytree(MAC, self.root / "packaging/macos")
        (self.root / "scripts").mkdir()
        shutil.copy(ROOT / "scripts/package", self.root / "scripts/package")
        self.log = self.root / "log"
        self.libraries = "\\t/usr/lib/libSystem.B.dylib\\n\\t/System/Library/AppKit"
        (self.root / "tools").mkdir()
        for tool in TOOLS:
            self.tool(tool)
        self.tool("pkgbuild", 'for last; do :; done; : >"$last"')
        self.tool("uname", "echo Darwin")
        self.tool("plutil", "echo 1.2.3")
        self.tool("cmake", 'case $1 in --install) mkdir -p "$DESTDIR/Applications/Vesk Remote.app" ;; esac')

    def tool(self, name, does=""):
        file = self.root / "tools" / name
        file.write_text(f'#!/bin/sh\n{{ printf {name}; for each; do printf "|%s" "$each"; done; echo; }} >>"{self.log}"\n{does}\n')
        file.chmod(0o755)

    def package(self, *arguments):
        self.tool("otool", f'printf "%s:\\n{self.libraries} (x)\\n" "$2"')
        self.log.write_text("")
        done = subprocess.run([self.root / "scripts/package", *arguments], text=True, capture_output=True,
                              env={**os.environ, "PATH": f"{self.root}/tools:{os.environ['PATH']}"})
        calls = self.log.read_text().replace(f"{self.root}/", "").splitlines()
        return done.returncode, done.stdout + done.stderr, calls

    def test_is_built_checked_signed_and_put_together_in_this_order(self):
        status, said, calls = self.package("--sign", "The Maker", "--sign-installer", "The Packer",
                                           "--notarise", "a profile")
        self.assertEqual((status, said), (0, PACKAGE + "\n"))
        self.assertEqual(calls, [
            "uname",
            "cmake|--preset|mac-package",
            "cmake|--build|--preset|mac-package",
            "cmake|--install|build/mac-package",
            f"lipo|{PROGRAM}|-verify_arch|arm64|x86_64",
            f"otool|-L|{PROGRAM}",
            f"codesign|--force|--options|runtime|--timestamp|--sign|The Maker|{BUNDLE}",
            f"codesign|--verify|--strict|{BUNDLE}",
            f"plutil|-extract|CFBundleShortVersionString|raw|-o|-|{BUNDLE}/Contents/Info.plist",
            "pkgbuild|--root|build/package/root|--component-plist|packaging/macos/components.plist"
            "|--scripts|packaging/macos/installer|--identifier|com.vesk.tovarin.screen|--version|1.2.3"
            "|--ownership|recommended|--install-location|/|build/package/program.pkg",
            "productbuild|--distribution|packaging/macos/distribution.xml|--package-path|build/package"
            f"|--version|1.2.3|--sign|The Packer|{PACKAGE}",
            f"xcrun|notarytool|submit|{PACKAGE}|--keychain-profile|a profile|--wait",
            f"xcrun|stapler|staple|{PACKAGE}"])

    def test_is_signed_for_this_mac_alone_without_an_identity(self):
        status, _, calls = self.package()
        self.assertEqual(status, 0)
        self.assertIn(f"codesign|--force|--options|runtime|--timestamp=none|--sign|-|{BUNDLE}", calls)
        self.assertFalse([call for call in calls if "xcrun" in call or "|--sign|The" in call])

    def test_is_not_made_of_a_program_that_other_macs_cannot_run(self):
        self.libraries += "\\n\\t/opt/homebrew/lib/libfoo.dylib"
        status, said, calls = self.package()
        self.assertEqual(status, 1)
        self.assertIn("/opt/homebrew/lib/libfoo.dylib", said)
        self.assertFalse([call for call in calls if call.startswith("codesign")])

    def test_is_not_made_where_a_step_fails(self):
        for tool in TOOLS:
            with self.subTest(tool=tool):
                self.tool(tool, "exit 1")
                status, _, calls = self.package("--sign", "a", "--sign-installer", "b", "--notarise", "c")
                self.assertNotEqual(status, 0)
                self.assertTrue(calls[-1].startswith(tool), calls)
                self.tool(tool, 'for last; do :; done; : >"$last"' if tool == "pkgbuild" else "")

    def test_wants_both_identities_for_a_notary(self):
        for arguments in (["--notarise", "p"], ["--notarise", "p", "--sign", "a"], ["--sign"], ["--sign", ""],
                          ["--notarise", "p", "--sign-installer", "b"], ["--else", "x"]):
            with self.subTest(arguments=arguments):
                status, _, calls = self.package(*arguments)
                self.assertEqual((status, calls), (1, ["uname"]))


class PartsOfTheMacsPackage(unittest.TestCase):
    def test_name_the_bundle_and_the_job_alike(self):
        component, = plistlib.loads((MAC / "components.plist").read_bytes())
        job = plistlib.loads((MAC / "com.vesk.tovarin.screen.plist").read_bytes())
        self.assertTrue(job["ProgramArguments"][0].startswith(f"/{component['RootRelativeBundlePath']}/"))
        self.assertIs(component["BundleIsRelocatable"], False)
        for script in ("preinstall", "postinstall"):
            text = (MAC / "installer" / script).read_text()
            self.assertIn(job["Label"], text)
            self.assertTrue(os.access(MAC / "installer" / script, os.X_OK))

    def test_want_the_same_system(self):
        distribution = xml.etree.ElementTree.parse(MAC / "distribution.xml").getroot()
        info = (MAC / "Info.plist").read_text()
        wanted = distribution.find(".//os-version").get("min")
        self.assertIn(f"<key>LSMinimumSystemVersion</key>\n  <string>{wanted}</string>", info)
        self.assertIn(f"CMAKE_OSX_DEPLOYMENT_TARGET {wanted} ", (ROOT / "CMakeLists.txt").read_text())
        self.assertEqual(distribution.find("options").get("hostArchitectures"), "arm64,x86_64")

    def test_start_and_end_the_job_of_whoever_is_logged_in(self):
        for user, wanted in ((501, ["bootout|gui/501/com.vesk.tovarin.screen", "bootstrap|gui/501|"
                                    "/Library/LaunchAgents/com.vesk.tovarin.screen.plist"]), (0, [])):
            with self.subTest(user=user), tempfile.TemporaryDirectory() as folder:
                for name, does in (("stat", f"echo {user}"),
                                   ("launchctl", f'IFS="|"; echo "$*" >>{folder}/log; exit 1')):
                    tool = pathlib.Path(folder) / name
                    tool.write_text(f"#!/bin/sh\n{does}\n")
                    tool.chmod(0o755)
                (pathlib.Path(folder) / "log").write_text("")
                for script in ("preinstall", "postinstall"):
                    subprocess.run([MAC / "installer" / script], check=True,
                                   env={"PATH": f"{folder}:{os.environ['PATH']}"})
                self.assertEqual((pathlib.Path(folder) / "log").read_text().splitlines(), wanted)


if __name__ == "__main__":
    unittest.main()
