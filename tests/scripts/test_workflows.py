"""The workflows are well formed, and what they call is there."""

import json
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
WORKFLOWS = sorted((ROOT / ".github/workflows").glob("*.yml"))


def lint(*files):
    done = subprocess.run(["node", ROOT / "tests/scripts/lint_workflows.cjs", *files], text=True,
                          capture_output=True)
    return done.returncode, done.stdout + done.stderr


def commands(workflow):
    """The commands of each step that runs any."""
    lines = workflow.read_text().splitlines()
    for number, line in enumerate(lines):
        if not (match := re.match(r"( *)(- )?run: (.*)", line)):
            continue
        if match[3] != "|":
            yield match[3]
            continue
        deeper = " " * (len(match[1]) + len(match[2] or "") + 2)
        block = []
        for following in lines[number + 1:]:
            if not following.startswith(deeper):
                break
            block.append(following.strip())
        yield "\n".join(block)


class Workflows(unittest.TestCase):
    def test_are_well_formed(self):
        self.assertEqual(lint(*WORKFLOWS), (0, ""))

    def test_would_be_refused_otherwise(self):
        wrong = {"uses: actions/checkout@v4": "uses: actions/checkout",
                 "runs-on:": "runs_on:",
                 "timeout-minutes: ": "timeout-minutes: soon-",
                 "pull_request:": "pull_requests:"}
        with tempfile.TemporaryDirectory() as folder:
            changed = [pathlib.Path(folder) / f"{number}-{workflow.name}"
                       for workflow in WORKFLOWS for number in range(len(wrong))]
            texts = [workflow.read_text().replace(*each) for workflow in WORKFLOWS for each in wrong.items()]
            for file, text in zip(changed, texts):
                file.write_text(text)
            status, said = lint(*changed)
        self.assertEqual(status, 1)
        for file in changed:
            self.assertIn(f"{file}:", said)

    def test_say_what_a_shell_understands(self):
        for workflow in WORKFLOWS:
            found = list(commands(workflow))
            self.assertGreater(len(found), 2, workflow)
            for each in found:
                subprocess.run(["bash", "-n", "-c", each], check=True)

    def test_use_presets_that_are_there_and_build_no_benchmarks(self):
        presets = json.loads((ROOT / "CMakePresets.json").read_text())
        configured = {p["name"]: p.get("cacheVariables", {}) for p in presets["configurePresets"]}
        used = {(kind, name) for workflow in WORKFLOWS for each in commands(workflow)
                for kind, name in re.findall(r"(cmake|cmake --build|ctest) --preset (\S+)", each)}
        self.assertTrue(used)
        kinds = {"cmake": "configurePresets", "cmake --build": "buildPresets", "ctest": "testPresets"}
        for kind, name in used:
            self.assertIn(name, [p["name"] for p in presets[kinds[kind]]])
            self.assertEqual(configured[name].get("VESK_BUILD_BENCHMARKS", "OFF"), "OFF")

    def test_call_files_that_are_there(self):
        made = re.compile(r"\bbuild/\S+")
        for workflow in WORKFLOWS:
            for each in commands(workflow):
                for path in re.findall(r"(?<![\w/])(?:scripts|packaging|tests)/[\w./-]+", made.sub("", each)):
                    self.assertTrue((ROOT / path).is_file(), path)
                for script in re.findall(r"^scripts/\S+", each, re.M):
                    self.assertTrue(os.access(ROOT / script, os.X_OK), script)

    def test_install_on_a_mac_what_its_page_says(self):
        brew = re.compile(r"^.*?(brew install .*)$", re.M)
        page = brew.search((ROOT / "docs/platforms.md").read_text())[1]
        self.assertEqual(brew.search((ROOT / ".github/workflows/macos.yml").read_text())[1], page)


if __name__ == "__main__":
    unittest.main()
