"""record and history as people and scripts use them.

usage: history_test.py PROJECT QO1905"""

import json
import os
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

PROJECT, QO1905 = Path(sys.argv.pop(1)).resolve(), Path(sys.argv.pop(1)).resolve()
TESTS = QO1905.parent / "tests"
HOME, LATER = PROJECT / "docs/examples/home", PROJECT / "docs/examples/later"
ENVIRONMENT = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "TZ": "UTC"}
PHONE = "02:57:00:00:00:24"


def wait_until(condition, seconds=20):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if condition():
            return True
        time.sleep(0.05)
    return False


class InFolder(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="qo1905-history-test."))
        self.addCleanup(shutil.rmtree, self.folder)
        self.database = self.folder / "history.db"

    def ask(self, *words, status=0, **environment):
        said = subprocess.run(
            [QO1905, *words],
            capture_output=True,
            text=True,
            cwd=self.folder,
            env={**ENVIRONMENT, "QO1905_DB": str(self.database), **environment},
            timeout=60,
        )
        self.assertEqual(said.returncode, status, said)
        return said

    def past(self, *words, **more):
        return self.ask("history", *words, **more)

    def json(self, *words, **more):
        return json.loads(self.past(*words, "-o", "json", **more).stdout)


class Asked(InFolder):
    """Of a day and a night whose every minute is known: see make_past.cpp."""

    def setUp(self):
        super().setUp()
        subprocess.run([TESTS / "make-past", PROJECT / "lab/scenarios/home.json", self.database], check=True)

    def test_every_output_of_every_list_says_the_same(self):
        for verb, key in [
            (["station", PHONE], "stations"),
            (["link", "attic"], "devices"),
            (["roams"], "roams"),
            (["roams", "--top"], "roamers"),
            (["pingpong"], "bouncers"),
            (["sticky"], "sticky"),
            (["gaps"], "gaps"),
            (["events"], "events"),
            (["sources"], "sources"),
        ]:
            whole = self.json(*verb)
            self.assertEqual(whole["schema"], 1)
            items = whole[key] if verb[0] not in ("station", "link") else whole[key][0]["sessions"]
            tsv = self.past(*verb, "-o", "tsv").stdout.splitlines()
            self.assertEqual(len(tsv), len(items) + 1, verb)
            table = self.past(*verb, "-o", "wide", "--no-header").stdout
            self.assertGreaterEqual(len(table.splitlines()), len(items))
            first = tsv[0].split("\t")[0]
            value = self.past(*verb, "-o", "value", "--columns", first).stdout.splitlines()
            self.assertEqual(value, [line.split("\t")[0] for line in tsv[1:]])
            if verb[0] not in ("station", "link"):
                lines = self.past(*verb, "-o", "ndjson").stdout.splitlines()
                self.assertEqual([json.loads(line) for line in lines], items)

    def test_a_station_is_found_by_name_mac_and_address_of_now_or_then(self):
        for name in ("phone-anna", "PHONE-ANNA", PHONE, "192.168.1.136"):
            self.assertEqual(self.json("station", name)["stations"][0]["mac"], PHONE)
        said = self.past("station", "phone", status=1)
        self.assertIn("no station was ever called phone; there are: phone-anna, phone-ben", said.stderr)

    def test_somebody_of_the_other_kind_and_words_that_are_missing_are_told(self):
        self.assertIn("attic is a device: history link attic", self.past("station", "attic", status=1).stderr)
        self.assertIn("tv is a station: history station tv", self.past("link", "tv", status=1).stderr)
        self.assertIn("NAME is required", self.past("station", status=2).stderr)
        self.past("station", "tv", "--at", "3:00", "--since", "-2h", status=2)

    def test_what_nobody_saw_is_not_said_to_have_been_away(self):
        for words in (
            ["link", "attic", "--at", "2026-11-22T04:40Z"],
            ["station", "phone-anna", "--since", "2026-11-22 04:35", "--until", "2026-11-22 04:45"],
        ):
            said = self.past(*words, status=1)
            self.assertIn("/tmp/qo1905.json: No such file or directory, from 2026-11-22 04:29:40", said.stderr)
        for time in ("2026-11-21 05:00", "2026-11-22 11:30"):
            said = self.past("link", "attic", "--at", time, status=1)
            self.assertIn("recorded is from 2026-11-21 06:00:00 until 2026-11-22 06:00:00", said.stderr)
        said = self.past("station", "phone-anna", "--since", "2026-11-21 09:00", "--until", "2026-11-21 10:00", status=1)
        self.assertIn(f"phone-anna ({PHONE}) was not there from 2026-11-21 09:00:00", said.stderr)
        self.assertIn("gateway, 5 GHz", self.past("station", "phone-anna", "--at", "2026-11-21 20:00").stdout)

    def test_a_bad_night_of_a_link_is_told_from_when_to_when(self):
        text = self.past("link", "attic").stdout
        self.assertIn("weak from 2026-11-22 02:30:00 until 2026-11-22 04:09:40: -82 dBm on average, at living-room", text)
        weak = self.json("link", "attic")["devices"][0]["weak"]
        self.assertEqual([(spell["since"], spell["until"]) for spell in weak], [("2026-11-22T02:30:00Z", "2026-11-22T04:09:40Z")])

    def test_a_file_that_may_only_be_read_is_read(self):
        if os.getuid() != 0:
            self.skipTest("needs another user")
        shared = self.folder / "sha%re?d #1"
        shared.mkdir()
        shutil.copyfile(self.database, shared / "home.db")
        for folder, mode in ((self.folder, 0o755), (shared, 0o555)):
            folder.chmod(mode)
        words = ["setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups"]
        said = subprocess.run([*words, QO1905, "history", "--db", shared / "home.db", "gaps"], capture_output=True, env=ENVIRONMENT, cwd="/")
        shared.chmod(0o755)
        if said.returncode in (126, 127):
            self.skipTest("another user cannot reach the program")
        self.assertEqual(said.returncode, 0, said)

    def test_times_in_words_and_spans(self):
        roams = self.json("roams", "--since", "2026-11-21 22:00", "--until", "2026-11-22 01:30")["roams"]
        self.assertEqual([roam["time"] for roam in roams], ["2026-11-21T22:30:00Z"])
        vienna = self.json("roams", "--since", "2026-11-21 23:00", "--until", "2026-11-22 02:30", TZ="CET-1")["roams"]
        self.assertEqual(vienna, roams)
        utc = self.json("roams", "--since", "2026-11-21 22:00", "--until", "2026-11-22 01:30", "--utc", TZ="CET-1")["roams"]
        self.assertEqual(utc, roams)
        said = self.past("roams", "--since", "half past", status=2)
        self.assertIn('half past: is no time such as "yesterday 03:00"', said.stderr)
        said = self.past("roams", "--since", "2026-11-22 03:00", "--until", "2026-11-22 02:00", status=2)
        self.assertIn("--since is 2026-11-22 03:00:00, which is not before --until: 2026-11-22 02:00:00", said.stderr)

    def test_a_time_may_begin_with_a_minus(self):
        said = self.past("at", "-2h", status=1)
        self.assertIn("nothing is known of", said.stderr)
        self.past("roams", "--since", "-100y")

    def test_the_mesh_as_it_was_in_every_view(self):
        at = ["at", "2026-11-22T03:00Z"]
        snapshot = self.json(*at)
        self.assertEqual(snapshot["time"], "2026-11-22T03:00:00Z")
        attic = next(device for device in snapshot["devices"] if device.get("name") == "attic")
        self.assertEqual((attic["rate"], attic["firmware"], attic["hops"]), (78, "2.3.9", 2))
        self.assertEqual(len(snapshot["stations"]), 15)
        for view in (["status"], ["tree", "--stations"], ["devices"], ["links"], ["stations", "--device", "attic"]):
            self.assertIn("attic", self.past(*at, *view).stdout)
        self.assertIn("living-room", self.past(*at, "path", "phone-anna").stdout)
        self.assertIn(PHONE, self.past(*at, "show", "phone-anna").stdout)
        self.past(*at, "show", "nobody", status=1)

    def test_a_moment_in_a_gap_says_why_there_is_none(self):
        said = self.past("at", "2026-11-22T04:40Z", status=1)
        self.assertEqual(said.stdout, "")
        self.assertIn("/tmp/qo1905.json: No such file or directory, from 2026-11-22 04:29:40", said.stderr)
        said = self.past("at", "2026-11-20", status=1)
        self.assertIn("recorded is from 2026-11-21 06:00:00 until 2026-11-22 06:00:00", said.stderr)

    def test_nothing_that_matches_is_status_1_and_said(self):
        said = self.past("roams", "--since", "2026-11-21 18:00", "--until", "2026-11-21 19:00", status=1)
        self.assertIn("nobody roamed from 2026-11-21 18:00:00 until 2026-11-21 19:00:00", said.stderr)
        self.assertEqual(self.json("roams", "--until", "2026-11-21 09:00", status=1)["roams"], [])

    def test_a_picture_has_no_rows(self):
        self.past("link", "attic", "--at", "2026-11-22T03:00Z", "-o", "tsv", status=2)
        self.assertEqual(self.json("link", "attic", "--at", "2026-11-22T03:00Z")["devices"][0]["then"]["rate"]["mean"], 78)

    def test_the_curve_has_a_hole_where_nothing_is_known(self):
        text = self.past("station", "phone-anna").stdout
        top = text.splitlines()[2]
        self.assertRegex(top, r"^ -\d\d dBm ")
        self.assertEqual(top[20:40].strip(), "", "away from 07:40 to 17:20")
        ascii_text = self.past("station", "phone-anna", LC_ALL="C").stdout
        self.assertTrue(ascii_text.isascii())

    def test_several_sources_are_told_apart_by_s(self):
        self.past("import", str(self.bundle(LATER)), "--as", "other")
        said = self.past("roams", status=2)
        self.assertIn("has these sources, choose one with -s: home, other", said.stderr)
        self.assertEqual(self.json("roams", "--top", "-s", "home")["source"], "home")
        self.past("roams", "-s", "nobody", status=2)
        self.assertEqual(len(self.json("sources")["sources"]), 2)

    def bundle(self, source):
        file = self.folder / f"{source.name}-{len(list(self.folder.iterdir()))}.tar.gz"
        self.ask("-s", str(source), "bundle", str(file))
        return file


class Imported(InFolder):
    def bundle(self, source, age, *words):
        copy = self.folder / f"copy-{age}"
        shutil.copytree(source, copy)
        for file in copy.rglob("*"):
            os.utime(file, (1_790_000_000 - age,) * 2)
        file = self.folder / f"{age}.tar.gz"
        self.ask("-s", str(copy), "bundle", *words, str(file))
        return str(file)

    def test_bundles_in_any_order_are_remembered_in_theirs(self):
        first, second = self.bundle(HOME, 60), self.bundle(LATER, 0)
        said = self.past("import", second, first)
        self.assertIn("2 moments more", said.stderr)
        roams = self.json("roams")["roams"]
        self.assertEqual([(roam["station"]["name"], roam["to"]["name"]) for roam in roams], [("tv", "attic"), ("phone-anna", "living-room")])

    def test_what_is_remembered_already_is_left_out(self):
        first, second = self.bundle(HOME, 60), self.bundle(LATER, 0)
        self.past("import", second)
        said = self.past("import", first, second, status=1)
        self.assertEqual(said.stderr.count("left out"), 2)
        self.assertIn("0 moments more", said.stderr)

    def test_moments_far_apart_have_a_gap_between(self):
        self.past("import", self.bundle(HOME, 7200), self.bundle(LATER, 0))
        self.assertEqual(len(self.json("gaps")["gaps"]), 1)

    def test_a_file_that_is_none_is_told_and_the_others_are_taken(self):
        broken = self.folder / "broken.tar.gz"
        broken.write_bytes(b"\x1f\x8b but no more than that")
        said = self.past("import", str(broken), self.bundle(HOME, 0), status=4)
        self.assertIn("broken.tar.gz", said.stderr)
        self.assertIn("1 moment more", said.stderr)

    def test_anonymous_ones_are_a_source_of_their_own(self):
        plain, secret = self.bundle(HOME, 60), self.bundle(LATER, 0, "--anonymise")
        self.past("import", plain, secret)
        self.assertEqual(len(self.json("sources")["sources"]), 2)


class Recorded(InFolder):
    def setUp(self):
        super().setUp()
        self.mesh = self.folder / "mesh"
        shutil.copytree(HOME, self.mesh)
        self.model = self.mesh / "tmp/qo1905.json"
        self.time = time.time() - 1000
        self.write(HOME)

    def write(self, source):
        """The next model, two seconds after the one before."""
        self.time += 2
        for file in ("tmp/dump.txt", "tmp/qo1905.json"):
            shutil.copyfile(source / file, self.mesh / file)
            os.utime(self.mesh / file, (self.time, self.time))
        os.utime(self.mesh / "tmp", None)

    def record(self, *words):
        recorder = subprocess.Popen(
            [QO1905, "record", "--db", self.database, "--commit-every", "1", *words],
            stderr=subprocess.PIPE,
            text=True,
            env=ENVIRONMENT,
        )
        self.addCleanup(lambda: (recorder.kill(), recorder.wait(), recorder.stderr.close()))
        return recorder

    def recorded(self):
        try:
            with sqlite3.connect(f"file:{self.database}?mode=ro", uri=True) as database:
                return database.execute("SELECT max(last) FROM source").fetchone()[0]
        except sqlite3.OperationalError:
            return None

    def is_recorded(self):
        return self.recorded() == int(self.time)

    def test_what_is_written_is_remembered_until_ctrl_c(self):
        recorder = self.record(str(self.mesh))
        self.assertIn(f"recording {self.mesh} into", recorder.stderr.readline())
        self.assertTrue(wait_until(self.is_recorded))
        self.write(LATER)
        self.assertTrue(wait_until(self.is_recorded))
        recorder.send_signal(signal.SIGINT)
        self.assertEqual(recorder.wait(20), 0)
        self.assertIn("recorded 2 moments", recorder.stderr.read())
        roams = self.json("roams")["roams"]
        self.assertEqual({roam["station"]["name"] for roam in roams}, {"tv", "phone-anna"})

    def test_a_source_that_goes_and_comes_is_said_once_and_waited_for(self):
        recorder = self.record(str(self.mesh))
        recorder.stderr.readline()
        self.assertTrue(wait_until(self.is_recorded))
        self.model.unlink()
        self.assertIn("No such file or directory; waiting for it", recorder.stderr.readline())
        self.time += 600
        self.write(LATER)
        self.assertIn("it is there again", recorder.stderr.readline())
        self.assertTrue(wait_until(self.is_recorded))
        recorder.terminate()
        self.assertEqual(recorder.wait(20), 0)
        self.assertIn("No such file or directory", self.json("gaps")["gaps"][0]["cause"])

    def test_a_kill_loses_nothing_that_was_committed(self):
        recorder = self.record(str(self.mesh))
        self.assertTrue(wait_until(self.is_recorded))
        recorder.kill()
        recorder.wait(20)
        self.write(LATER)
        second = self.record(str(self.mesh))
        self.assertTrue(wait_until(self.is_recorded))
        second.terminate()
        second.wait(20)
        self.assertEqual(len(self.json("roams")["roams"]), 2)
        self.assertEqual(self.json("gaps", status=1)["gaps"], [])

    def test_two_sources_stand_beside_each_other(self):
        other = self.folder / "other"
        shutil.copytree(self.mesh, other)
        recorder = self.record(str(self.mesh), str(other))
        self.assertTrue(wait_until(lambda: self.database.exists() and len(self.names()) == 2))
        recorder.terminate()
        recorder.wait(20)

    def names(self):
        said = subprocess.run([QO1905, "history", "--db", self.database, "sources", "-o", "json"], capture_output=True, env=ENVIRONMENT)
        return json.loads(said.stdout)["sources"] if said.returncode == 0 else []

    def test_a_second_recorder_is_refused(self):
        self.record(str(self.mesh)).stderr.readline()
        second = self.record(str(self.mesh))
        self.assertIn("another process records into it", second.stderr.read())
        self.assertEqual(second.wait(20), 4)

    def test_wrong_words(self):
        self.ask("record", str(self.mesh), "--keep-samples", "long", status=2)
        self.ask("record", "/nowhere", status=3)
        self.assertFalse(self.database.exists(), "a source that is none makes no database")
        self.assertIn("history import remembers several", self.ask("record", str(self.model_alone()), status=2).stderr)
        self.ask("record", str(self.mesh), status=4, QO1905_DB="/proc/history.db")

    def model_alone(self):
        file = self.folder / "one.tar.gz"
        self.ask("-s", str(self.mesh), "bundle", str(file))
        return file


class Strangers(InFolder):
    def test_no_name_of_the_past_reaches_a_terminal_or_makes_a_row(self):
        attempts = json.loads(subprocess.run([TESTS / "list_attempts"], capture_output=True, check=True).stdout)
        hostile = attempts + ["\x1b[2Jgone", "a\u202eb", "tab\there", "line\nend", "\x9b31m", "x" * 100000]
        subprocess.run([TESTS / "make-past", PROJECT / "lab/scenarios/home.json", self.database], check=True)
        with sqlite3.connect(self.database) as database:
            nodes = [row[0] for row in database.execute("SELECT id FROM node ORDER BY id")]
            for at in range(0, len(hostile), len(nodes)):
                for node, name in zip(nodes, hostile[at : at + len(nodes)]):
                    database.execute("UPDATE description SET name = ?, address = ? WHERE node = ?", (name, name, node))
                database.execute("UPDATE gap SET cause = ?", (hostile[at],))
                database.execute("UPDATE event SET new = ?", (hostile[at],))
                database.commit()
                self.expect_harmless()

    def expect_harmless(self):
        for verb in (
            ["station", PHONE],
            ["link", "02:0b:00:00:00:01"],
            ["link", "02:0b:00:00:00:01", "--at", "2026-11-22T03:00Z"],
            ["roams", "--top"],
            ["pingpong"],
            ["sticky"],
            ["gaps"],
            ["events"],
            ["at", "2026-11-22T03:00Z", "tree", "--stations"],
            ["at", "2026-11-22T04:40Z"],
        ):
            said = subprocess.run([QO1905, "history", *verb], capture_output=True, env={**ENVIRONMENT, "QO1905_DB": self.database})
            self.assertIn(said.returncode, (0, 1))
            text = (said.stdout + said.stderr).decode()
            self.assertFalse([c for c in text if (ord(c) < 32 and c != "\n") or 0x7F <= ord(c) < 0xA0 or c == "\u202e"], verb)
        for verb in ("gaps", "events"):
            rows = self.past(verb, "-o", "tsv").stdout.splitlines()
            self.assertEqual({row.count("\t") for row in rows}, {rows[0].count("\t")})
            self.json(verb)


if __name__ == "__main__":
    unittest.main()
