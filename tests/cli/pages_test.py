"""What the pages say about the command is so: every example gives what stands below it, and the manual has all options.

usage: pages_test.py PROJECT QO1905"""

import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

PROJECT, QO1905 = Path(sys.argv.pop(1)), Path(sys.argv.pop(1)).resolve()


def run(command, **options):
    return subprocess.run(command, capture_output=True, text=True, timeout=60, **options)


def without_times(text):
    """Ages and times differ from run to run."""
    text = re.sub(r"\b\d+ s old\b", "N s old", text)
    text = re.sub(r"\bage=\d+s", "age=Ns", text)
    return re.sub(r"\b\d{4}-\d\d-\d\d \d\d:\d\d:\d\d", "TIME", text)


def examples(page):
    """The commands of a page, each with what should come out."""
    found = []
    for block in re.findall(r"```console\n(.*?)```", page, re.DOTALL):
        for line in block.splitlines():
            if line.startswith("$ "):
                found.append((line[2:], []))
            else:
                found[-1][1].append(line)
    return found


class Examples(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="qo1905-pages."))
        self.addCleanup(shutil.rmtree, self.folder)
        for name in ("home", "later"):
            shutil.copytree(PROJECT / "docs/examples" / name, self.folder / name)
            for file in (self.folder / name).rglob("*"):
                os.utime(file, (time.time() - 3,) * 2)
        (self.folder / "bin").mkdir()
        (self.folder / "bin/qo1905").symlink_to(QO1905)
        self.environment = {"PATH": f"{self.folder}/bin:{os.environ['PATH']}", "LC_ALL": "C.UTF-8", "TERM": "dumb"}

    def test_every_example_of_the_page_gives_what_stands_below_it(self):
        found = examples((PROJECT / "docs/qo1905.md").read_text())
        self.assertGreater(len(found), 20)
        for command, lines in found:
            # Words and data in the order in which they are said.
            said = run(["bash", "-c", f"({command}) 2>words; cat words"], cwd=self.folder, env=self.environment)
            wanted = [line for line in lines if not line.startswith("qo1905: ")]
            wanted += [line for line in lines if line.startswith("qo1905: ")]
            self.assertEqual(without_times(said.stdout), without_times("\n".join(wanted) + "\n"), command)

    def test_every_example_of_the_past_gives_what_stands_below_it(self):
        scenario = PROJECT / "lab/scenarios/home.json"
        subprocess.run([QO1905.parent / "tests/make-past", scenario, self.folder / "home.db"], check=True)
        found = [item for item in examples((PROJECT / "docs/history.md").read_text()) if item[1]]
        self.assertGreaterEqual(len(found), 12)
        for command, lines in found:
            environment = {**self.environment, "QO1905_DB": "home.db", "TZ": "UTC"}
            said = run(["bash", "-c", f"({command}) 2>words; cat words"], cwd=self.folder, env=environment)
            self.assertEqual(said.stdout, "\n".join(lines) + "\n", command)

    def test_every_verb_has_an_example(self):
        page = (PROJECT / "docs/qo1905.md").read_text()
        past = (PROJECT / "docs/history.md").read_text()
        used = " ".join(command for command, _ in examples(page) + examples(past))
        for verb in verbs():
            if verb != "watch":  # which never ends; the terminal's tests have it
                self.assertRegex(used, rf"\b{verb}\b")
            self.assertIn(f"`{verb}", page)
        for verb in verbs(["history"]):
            self.assertRegex(past, rf"history (--db home.db )?{verb}\b")


def help_of(words):
    return run([QO1905, *words, "--help"]).stdout


def verbs(words=()):
    part = re.search(r"\nSubcommands:\n(.*?)(\n\n|\Z)", help_of(words), re.DOTALL)
    return re.findall(r"^  ([a-z0-9]+) ", part.group(1), re.MULTILINE) if part else []


def options(words):
    part = re.search(r"\nOptions:\n(.*?)(\n\n|\Z)", help_of(words), re.DOTALL)
    return set(re.findall(r"(?:^  |,)(--?[a-z0-9-]+)", part.group(1), re.MULTILINE)) if part else set()


class Manual(unittest.TestCase):
    def setUp(self):
        source = PROJECT / "docs/qo1905.1"
        self.text = re.sub(r"\\f.|\\", "", re.sub(r"\\-", "-", source.read_text())).replace('"', "")
        self.verbs = self.text.split(".SH VERBS")[1].split(".SH ")[0]

    def test_it_has_every_verb_and_option_and_no_other(self):
        known = set(options([]))
        for verb in verbs():
            self.assertRegex(self.verbs, rf"(?m)^\.(B|BR|BI|B export) .*\b{verb}\b", verb)
            for words in [[verb], *([verb, format] for format in verbs([verb]))]:
                if verb != "watch" or len(words) == 1:
                    known |= options(words)
        told = set(re.findall(r"(?<![\w-])--?[a-z][a-z0-9-]*", self.text.split(".SH OPTIONS")[1].split(".SH EXAMPLES")[0]))
        self.assertEqual(told - {"-s"}, known - {"-s"})

    def test_each_option_stands_with_its_verb(self):
        entries = dict(re.findall(r"\.TP\n\.\w+ (\w+)(.*?)(?=\.TP|\Z)", self.verbs, re.DOTALL))
        for verb in ("status", "stations", "events", "watch", "check", "wait", "bundle"):
            for option in options([verb]) - {"-h", "--help"}:
                self.assertIn(option, entries[verb], verb)

    def test_it_can_be_read(self):
        if shutil.which("mandoc"):
            said = run(["mandoc", "-T", "lint", "-W", "error", PROJECT / "docs/qo1905.1"])
            self.assertEqual(said.returncode, 0, said.stdout)


if __name__ == "__main__":
    unittest.main()
