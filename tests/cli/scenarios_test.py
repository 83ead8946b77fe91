"""Every file that a device of every scenario writes is what its schema says, and no broken copy is.

usage: scenarios_test.py PROJECT BUILD"""

import copy
import json
import random
import re
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

import jsonschema

PROJECT, BUILD = Path(sys.argv.pop(1)), Path(sys.argv.pop(1)).resolve()


def validator(name):
    return jsonschema.Draft202012Validator(json.loads((PROJECT / f"docs/schema/{name}.json").read_text()))


def places(value, path=()):
    yield path
    if isinstance(value, (dict, list)):
        for key in value if isinstance(value, dict) else range(len(value)):
            yield from places(value[key], (*path, key))


def broken_copy(value, chance):
    """One value of it is of another kind."""
    path = chance.choice([path for path in places(value) if path])
    broken = copy.deepcopy(value)
    inner = broken
    for key in path[:-1]:
        inner = inner[key]
    inner[path[-1]] = {"another": "kind"}
    return broken, path


class EveryScenario(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        if subprocess.run([PROJECT / "lab/sandbox.sh", "--probe"], capture_output=True).returncode != 0:
            raise unittest.SkipTest("this machine denies namespaces, which a mesh needs")

    def check(self, name, value, what):
        schema = validator(name)
        self.assertEqual([error.message for error in schema.iter_errors(value)], [], what)
        chance = random.Random(str(what))
        for _ in range(5 if value else 0):
            broken, path = broken_copy(value, chance)
            self.assertFalse(schema.is_valid(broken), (what, path))

    def run_scenario(self, scenario):
        said = subprocess.run([BUILD / "qo1905-lab", "run", scenario, "--speed", "max", "--cycles", "3", "--keep"],
                              capture_output=True, text=True, timeout=120)
        self.assertEqual(said.returncode, 0, said.stdout + said.stderr)
        kept = Path(re.search(r"/\S*qo1905-kept\S*", said.stdout.strip().splitlines()[-1]).group(0))
        self.addCleanup(shutil.rmtree, kept)
        return sorted((kept / "devices").iterdir())

    def test_every_file_is_what_its_schema_says(self):
        for scenario in ("home", "villa", "office"):
            devices = self.run_scenario(scenario)
            for device in devices:
                self.check("model", json.loads((device / "tmp/qo1905.json").read_text()), device)
                log = device / "tmp/qo1905_log.json"
                if log.exists():
                    self.check("change-log", json.loads(log.read_text()), device)
                said = subprocess.run([BUILD / "qo1905", "-s", device, "-o", "json", "tree"], capture_output=True, check=True)
                self.check("snapshot", json.loads(said.stdout), device)

    def test_every_event_is_what_its_schema_says(self):
        examples = PROJECT / "docs/examples"
        said = subprocess.run(
            [BUILD / "qo1905", "-o", "ndjson", "diff", examples / "home", examples / "later"], capture_output=True, check=True)
        events = [json.loads(line) for line in said.stdout.splitlines()]
        self.assertEqual(len(events), 2)
        for event in events:
            self.check("event", event, event)


if __name__ == "__main__":
    unittest.main()
