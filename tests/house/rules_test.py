"""Plants in a copy of the house what its rules forbid, and expects them to find it.

    rules_test.py ROOT OBJECTS NM COMPILER
"""

import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import rules

ROOT, OBJECTS, NM, COMPILER = Path(sys.argv[1]), Path(sys.argv[2]), sys.argv[3], sys.argv[4]

# A file, what is put at its end, and what has to be said of it.
FORBIDDEN_TEXT = [
    ("module/base/text.cpp", '#include "module/messages/stations.h"', "module/base/ may not include module/messages/"),
    ("module/base/text.cpp", '#include "qo1905.h"', "module/base/ may not include qo1905.h"),
    ("module/base/mac.h", '  #  include "module/model/list.h"', "module/base/ may not include module/model/list.h"),
    ("module/model/al_table.cpp", '#include "module/output/code_names.h"', "may not include module/output/"),
    ("module/topology/leases.cpp", '#include "module/messages/role.h"', "may not include module/messages/role.h"),
    ("module/output/code_names.cpp", '#include "module/topology/leases.h"', "may not include module/topology/"),
    ("module/cycle.cpp", '#include "lab/common/json.h"', "module/ may not include lab/common/json.h"),
    ("module/platform/mcfg.h", '#include "module/base/text.h"', "may not include module/base/text.h"),
    ("lab/host/timer.cpp", '#include "module/base/text.h"', "lab/host/ may not include module/base/text.h"),
    ("lab/world/world.cpp", '#include "lab/mesh/clock.h"', "lab/world/ may not include lab/mesh/clock.h"),
    ("fuzz/dump.cpp", '#include "module/base/text.h"', "fuzz/ may not include module/base/text.h"),
    ("module/base/mac.cpp", "#include <json-c/json.h>", "only module/base/json.cpp knows json-c"),
    ("module/model/list.cpp", "#include <string>", "needs the C++ runtime library"),
    ("module/topology/leases.cpp", 'int x() { return system ("x"); }', "runs a command past module/base/shell.cpp"),
    ("module/output/text_file.cpp", 'auto y() { return popen("x", "r"); }', "runs a command past"),
    ("README.md", "`module/base/nothing.h`", "names module/base/nothing.h, which is not there"),
    ("docs/cycle.md", "`core/paths.h`", "names core/paths.h, which is not there"),
    ("docs/cycle.md", "`lab/attic/`", "names lab/attic/, which is not there"),
]

# A source of a room that calls into another, behind the back of the includes.
FORBIDDEN_CALL = [
    ("module/base", "extern \"C\" int initALTable(); int planted() { return initALTable(); }", "of module/"),
    ("module/model", "extern \"C\" int writeJsonDataModel(); int planted() { return writeJsonDataModel(); }",
     "of module/output/"),
    ("module/topology", "extern \"C\" int highLayerDataSend(); int planted() { return highLayerDataSend(); }",
     "of module/messages/"),
]


class HouseTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name) / "house"
        ignored = shutil.ignore_patterns("build*", ".git", "node_modules")
        shutil.copytree(ROOT, self.root, ignore=ignored)
        self.objects = OBJECTS

    def complaints(self):
        return list(rules.check(self.root, self.objects, NM))

    def assert_complains_of(self, what):
        found = self.complaints()
        self.assertTrue(any(what in line for line in found), f"not found: {what}\n" + "\n".join(found))

    def test_the_house_as_it_is_keeps_its_rules(self):
        self.assertEqual(self.complaints(), [])

    def test_forbidden_text_is_found(self):
        for name, text, what in FORBIDDEN_TEXT:
            path = self.root / name
            before = path.read_text()
            with self.subTest(name=name, text=text):
                path.write_text(before + "\n" + text + "\n")
                self.assert_complains_of(what)
            path.write_text(before)

    def test_forbidden_calls_are_found(self):
        for room, source, what in FORBIDDEN_CALL:
            with self.subTest(room=room):
                planted = self.root / room / "planted.cpp"
                planted.write_text(source)
                subprocess.run([COMPILER, "-c", "-o", planted.with_suffix(".o"), planted], check=True)
                planted.unlink()
                self.objects = self.root / "objects.txt"
                self.objects.write_text(OBJECTS.read_text() + f"\n{planted.with_suffix('.o')}")
                self.assert_complains_of(what)

    def test_rooms_without_objects_are_found(self):
        self.objects = self.root / "objects.txt"
        self.objects.write_text("")
        self.assert_complains_of("no symbols")

    def test_a_source_or_test_that_is_not_built_is_found(self):
        for build_file, line in [
            ("tests/CMakeLists.txt", "    module/topology/agent_count_test.cpp\n"),
            ("CMakeLists.txt", "    module/model/list.cpp\n"),
        ]:
            path = self.root / build_file
            before = path.read_text()
            self.assertIn(line, before)
            for planted in ["", "#" + line, "    # " + line.strip() + "\n"]:
                with self.subTest(file=build_file, line=planted):
                    path.write_text(before.replace(line, planted))
                    self.assert_complains_of(line.strip() + ": is not built")
            path.write_text(before)

    def test_what_mirrors_nothing_is_found(self):
        (self.root / "module/base/new.cpp").write_text("")
        self.assert_complains_of("module/base/new.cpp: has no test file")
        (self.root / "tests/module/base/old_test.cpp").write_text("")
        self.assert_complains_of("tests/module/base/old_test.cpp: mirrors no source")
        (self.root / "tests/module/model/agents_test.cpp").write_text("")
        self.assert_complains_of("module/model/agents.cpp: stands in the list of exceptions, but has a test")
        (self.root / "tests/module/hostile_test.cpp").unlink()
        self.assert_complains_of("tests/module/hostile_test.cpp: is in a list of exceptions, but not there")

    def test_a_folder_without_a_row_is_found(self):
        (self.root / "module/attic").mkdir()
        self.assert_complains_of("no row for module/attic/")
        (self.root / "fuzz").rename(self.root / "fuzzing")
        self.assert_complains_of("has a row for fuzz/, which is not there")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
