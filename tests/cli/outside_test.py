"""What goes out, read by the programs that it is for: JSON Schema validators, promtool, graphviz.

usage: outside_test.py PROJECT QO1905"""

import copy
import json
import random
import shutil
import subprocess
import sys
import tempfile
import unittest
import urllib.request
from pathlib import Path

import jsonschema

PROJECT, QO1905 = Path(sys.argv.pop(1)), Path(sys.argv.pop(1)).resolve()
HOME = PROJECT / "docs/examples/home"
NAMES = ("model", "change-log", "snapshot", "event", "history")


def run(command, **options):
    return subprocess.run(command, capture_output=True, timeout=60, **options)


def ask(*words, source=HOME):
    said = run([QO1905, "-s", source, *words])
    assert said.returncode in (0, 1), said.stderr
    return said.stdout.decode()


def validator(name):
    return jsonschema.Draft202012Validator(json.loads(ask("schema", name)))


def models():
    """Every model that a test has the bytes of, and those of the examples."""
    found = [*PROJECT.glob("tests/fixtures/meshes/*/expected/qo1905.json"), *PROJECT.glob("docs/examples/*/tmp/qo1905.json")]
    assert len(found) >= 6, found
    return found


CHANGE_LOG = {
    "MaxChangeLogEntries": 16,
    "LastChange": "ChangeLog.1",
    "IEEE1905DeviceNumberOfEntries": 2,
    "ChangeLogNumberOfEntries": 1,
    "ChangeLog.1": {
        "TimeStamp": "2026-03-05T07:04:09",
        "EventType": "NewNeighbor",
        "ReporterDeviceId": "02:0a:00:00:00:01",
        "ReporterInterfaceId": "02:0a:00:00:06:00",
        "NeighborType": "Non-IEEE1905",
        "NeighborId": "02:57:00:00:00:01",
    },
}


def events():
    said = run([QO1905, "-o", "ndjson", "diff", HOME, PROJECT / "docs/examples/later"])
    return [json.loads(line) for line in said.stdout.splitlines()]


def places(value, path=()):
    """Every place in a value, as the keys that lead there."""
    yield path
    if isinstance(value, dict):
        for key in value:
            yield from places(value[key], (*path, key))
    elif isinstance(value, list):
        for index, inner in enumerate(value[:2]):
            yield from places(inner, (*path, index))


def broken_copies(value):
    """One thing wrong in each: a value of another kind, a member that nobody knows, one that is not there."""
    for path in places(value):
        copied = copy.deepcopy(value)
        inner = copied
        for key in path[:-1]:
            inner = inner[key]
        here = inner[path[-1]] if path else copied
        if isinstance(here, dict):
            here["nobody-knows-this"] = 1
            yield path, copied
        elif path:
            inner[path[-1]] = {"another": "kind"}
            yield path, copied


class Formats(unittest.TestCase):
    def test_the_schemas_are_schemas(self):
        for name in NAMES:
            schema = json.loads((PROJECT / f"docs/schema/{name}.json").read_text())
            jsonschema.Draft202012Validator.check_schema(schema)
            self.assertEqual(json.loads(ask("schema", name)), schema)

    def test_every_member_says_what_it_means(self):
        def walk(schema, path):
            for key, member in {**schema.get("properties", {}), **schema.get("patternProperties", {})}.items():
                target = member.get("$ref", "").rpartition("/")[2]
                self.assertTrue(member.get("description") or target, f"{path}/{key}")
                walk(member, f"{path}/{key}")
            if isinstance(schema.get("items"), dict):
                walk(schema["items"], path)

        for name in NAMES:
            schema = json.loads((PROJECT / f"docs/schema/{name}.json").read_text())
            walk(schema, name)
            for key, definition in schema.get("$defs", {}).items():
                self.assertIn("description", definition, key)
                walk(definition, f"{name}/{key}")

    def test_every_model_is_one_and_no_broken_copy_is(self):
        model = validator("model")
        for file in models():
            value = json.loads(file.read_bytes().decode("utf-8", "replace"), strict=False)
            self.assertEqual([error.message for error in model.iter_errors(value)], [], file)
            copies = list(broken_copies(value))
            self.assertGreater(len(copies), 30)
            for path, broken in random.Random(1).sample(copies, min(len(copies), 60)):
                self.assertFalse(model.is_valid(broken), f"{file}: {path}")

    def test_the_change_log(self):
        log = validator("change-log")
        for value in ({}, CHANGE_LOG, {key: CHANGE_LOG[key] for key in list(CHANGE_LOG)[:4]}):
            self.assertTrue(log.is_valid(value))
        for path, broken in broken_copies(CHANGE_LOG):
            self.assertFalse(log.is_valid(broken), path)

    def test_a_snapshot_and_an_event(self):
        snapshot = validator("snapshot")
        bare = HOME / "tmp/qo1905.json"
        for source in (HOME, PROJECT / "docs/examples/later", bare):
            value = json.loads(ask("-o", "json", "tree", source=source))
            self.assertEqual([error.message for error in snapshot.iter_errors(value)], [])
            for path, broken in broken_copies(value):
                self.assertFalse(snapshot.is_valid(broken), path)
        event = validator("event")
        self.assertEqual(len(events()), 2)
        for value in events():
            self.assertEqual([error.message for error in event.iter_errors(value)], [])
            for path, broken in broken_copies(value):
                self.assertFalse(event.is_valid(broken), path)

    def test_the_past(self):
        history = validator("history")
        folder = Path(tempfile.mkdtemp(prefix="qo1905-past."))
        self.addCleanup(shutil.rmtree, folder)
        subprocess.run([QO1905.parent / "tests/make-past", PROJECT / "lab/scenarios/home.json", folder / "home.db"], check=True)
        for words in (
            ["sources"],
            ["station", "phone-anna"],
            ["link", "attic"],
            ["link", "attic", "--at", "2026-11-22T03:00Z"],
            ["roams"],
            ["roams", "--top"],
            ["pingpong"],
            ["sticky"],
            ["gaps"],
            ["events"],
        ):
            value = json.loads(ask("-o", "json", "history", "--db", str(folder / "home.db"), *words, source="home"))
            self.assertEqual([error.message for error in history.iter_errors(value)], [], words)
            copies = list(broken_copies(value))
            for path, broken in random.Random(1).sample(copies, min(len(copies), 60)):
                self.assertFalse(history.is_valid(broken), f"{words}: {path}")

    def test_the_past_over_http(self):
        history, snapshot = validator("history"), validator("snapshot")
        folder = Path(tempfile.mkdtemp(prefix="qo1905-past."))
        self.addCleanup(shutil.rmtree, folder)
        database = folder / "home.db"
        subprocess.run([QO1905.parent / "tests/make-past", PROJECT / "lab/scenarios/home.json", database], check=True)
        words = [QO1905, "serve", HOME, "--db", database, "--home", "home", "--port", "0"]
        server = subprocess.Popen(words, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.addCleanup(lambda: (server.terminate(), server.wait(), server.stdout.close()))
        url = server.stdout.readline().strip() + "api/v1/history"
        for path in ("", "/who?mac=02:57:00:00:00:24", "/who?mac=02:0b:00:00:00:01&kind=device", "/counts", "/gaps", "/roamers", "/sticky"):
            value = json.loads(urllib.request.urlopen(url + path).read())
            self.assertEqual([error.message for error in history.iter_errors(value)], [], path)
        value = json.loads(urllib.request.urlopen(url + "/mesh?at=1795316400").read())
        self.assertEqual([error.message for error in snapshot.iter_errors(value)], [])

    def test_members_are_refused_that_have_gone(self):
        for name, value, keys in (
            ("snapshot", json.loads(ask("-o", "json", "tree")), ("schema", "time", "devices", "stations", "missing")),
            ("event", events()[0], ("event", "time", "station", "from", "to")),
        ):
            for key in keys:
                without = {other: value[other] for other in value if other != key}
                self.assertFalse(validator(name).is_valid(without), key)


# The members of a NetJSON NetworkGraph.
NETWORK_GRAPH = {
    "type": "object",
    "required": ["type", "protocol", "version", "metric", "nodes", "links"],
    "properties": {
        "type": {"const": "NetworkGraph"},
        "protocol": {"type": ["string", "null"]},
        "version": {"type": ["string", "null"]},
        "metric": {"type": ["string", "null"]},
        "nodes": {
            "type": "array",
            "items": {
                "type": "object",
                "required": ["id"],
                "properties": {
                    "id": {"type": "string"},
                    "label": {"type": "string"},
                    "local_addresses": {"type": "array", "items": {"type": "string"}},
                    "properties": {"type": "object"},
                },
                "additionalProperties": False,
            },
        },
        "links": {
            "type": "array",
            "items": {
                "type": "object",
                "required": ["source", "target", "cost"],
                "properties": {
                    "source": {"type": "string"},
                    "target": {"type": "string"},
                    "cost": {"type": "number"},
                    "cost_text": {"type": "string"},
                    "properties": {"type": "object"},
                },
                "additionalProperties": False,
            },
        },
    },
}

TERMINAL = ["\x1b[2J", "\x1b]0;t\x07", "\u202etxt", "a\rb", "\x9b2J", "a\tb", "a\nb", "\u2028"]
SHELL = ['"', "\\", '";reboot;"', "$(reboot)", "`reboot`", "{a}", "<b>", "\\N", "\\l", "a\\", '"]; x [label="', "%n", "# HELP"]


def strangers_folder(folder):
    """The home, in which everybody's name is an attempt."""
    names = [text + str(i) for i, text in enumerate((TERMINAL + SHELL) * 2)]
    model = json.loads((HOME / "tmp/qo1905.json").read_text())
    topology = model["Device"]["X_0A3C5E_IEEE1905"]["AL"]["NetworkTopology"]
    for number, key in enumerate(key for key in topology if key.startswith("IEEE1905Device.")):
        topology[key]["Hostname"] = names[number]
        topology[key]["FirmwareVersion"] = names[number + 2]
    device = topology["IEEE1905Device.1"]
    for number, name in enumerate(names):
        extra = copy.deepcopy(device)
        extra["IEEE1905Id"] = f"02:ff:00:00:00:{number:02x}"
        extra["Hostname"] = extra["FirmwareVersion"] = extra["DeviceIP"] = name
        topology[f"IEEE1905Device.{number + 10}"] = extra
    (folder / "qo1905.json").write_text(json.dumps(model, indent=1) + "\n")
    return folder


class Others(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="qo1905-outside."))
        self.addCleanup(shutil.rmtree, self.folder)
        self.sources = [HOME, HOME / "tmp/qo1905.json", strangers_folder(self.folder)]

    def test_promtool_takes_the_metrics(self):
        for source in self.sources:
            page = ask("export", "prometheus", "--stations", "all", source=source)
            said = run(["promtool", "check", "metrics"], input=page.encode())
            # PHY rates are in bits everywhere; the one thing that promtool would have otherwise.
            told = [line for line in (said.stdout + said.stderr).decode().splitlines() if "_phy_rate_bits_per_second" not in line]
            self.assertEqual(told, [], source)
            self.assertIn(said.returncode, (0, 3), source)

    def test_graphviz_takes_the_graph_and_finds_all_in_it(self):
        for source in self.sources:
            drawn = run(["dot", "-Tjson"], input=ask("export", "dot", "--stations", source=source).encode())
            self.assertEqual((drawn.returncode, drawn.stderr), (0, b""), source)
            graph = json.loads(drawn.stdout.decode("utf-8", "replace"), strict=False)
            snapshot = json.loads(ask("-o", "json", "tree", source=source))
            macs = {item["al_mac"] for item in snapshot["devices"]} | {item["mac"] for item in snapshot["stations"]}
            self.assertEqual({node["name"] for node in graph["objects"]}, macs)

    def test_the_network_graph_is_one(self):
        for source in self.sources:
            graph = json.loads(ask("export", "netjson", "--stations", source=source))
            jsonschema.Draft202012Validator(NETWORK_GRAPH).validate(graph)
            ids = {node["id"] for node in graph["nodes"]}
            self.assertEqual(len(ids), len(graph["nodes"]))
            for link in graph["links"]:
                self.assertLessEqual({link["source"], link["target"]}, ids)

    def test_names_reach_programs_whole_and_terminals_never(self):
        folder = self.sources[2]
        wanted = {text + str(i) for i, text in enumerate((TERMINAL + SHELL) * 2)}
        self.assertLessEqual(wanted, {device.get("name") for device in json.loads(ask("-o", "json", "tree", source=folder))["devices"]})
        for words in (["status"], ["tree", "--stations"], ["devices"], ["-o", "wide", "devices"], ["-o", "tsv", "devices"],
                      ["links"], ["stations"], ["export", "dot"], ["get", "Device."]):
            text = ask(*words, source=folder).replace("\n", "").replace("\t", "" if "tsv" in words else "\t")
            self.assertFalse([c for c in text if ord(c) < 32 or 0x7F <= ord(c) < 0xA0 or c in "\u202e\u2028"], words)


class OneAnswer(unittest.TestCase):
    """The same is said in every format, for the home and for a model alone."""

    def rows(self, source, verb):
        lines = ask("-o", "tsv", verb, source=source).splitlines()
        header = lines[0].split("\t")
        return header, [dict(zip(header, line.split("\t"), strict=True)) for line in lines[1:]]

    def test_every_list(self):
        for source in (HOME, HOME / "tmp/qo1905.json"):
            for verb in ("devices", "stations", "links"):
                header, rows = self.rows(source, verb)
                items = json.loads(ask("-o", "json", verb, source=source))[verb]
                self.assertEqual(items, [json.loads(line) for line in ask("-o", "ndjson", verb, source=source).splitlines()])
                self.assertEqual(len(items), len(rows))
                value = ask("-o", "value", "--columns", ",".join(header), verb, source=source)
                self.assertEqual(value, "".join("\t".join(row.values()) + "\n" for row in rows))
                wide = ask("-o", "wide", verb, source=source).splitlines()
                self.assertEqual(len(wide), len(rows) + 1)
                for item, row, line in zip(items, rows, wide[1:], strict=True):
                    self.assertEqual([cell for cell in line.split("  ") if cell.strip()].__len__(), len(header), line)
                    for key in set(header) & set(item) - {"wired", "random_mac", "device", "parent"}:
                        self.assertEqual(str(item[key]), row[key], verb)
                    for key in ("signal", "rate", "medium", "hops", "name", "address"):
                        if key in row and key not in item:
                            self.assertEqual(row[key], "", "unknown is empty")

    def test_pictures_agree_with_the_lists(self):
        for source in (HOME, HOME / "tmp/qo1905.json"):
            snapshot = json.loads(ask("-o", "json", "tree", source=source))
            tree = ask("tree", "--stations", source=source)
            self.assertEqual(tree.count("\n"), len(snapshot["devices"]) + len(snapshot["stations"]))
            for station in snapshot["stations"]:
                self.assertIn(station["mac"], tree)
                path = ask("path", station["mac"], source=source)
                way = json.loads(ask("-o", "json", "path", station["mac"], source=source))["paths"][0]
                self.assertEqual([hop["al_mac"] for hop in way["hops"] if hop["al_mac"] in path],
                                 [hop["al_mac"] for hop in way["hops"]])
                shown = json.loads(ask("-o", "json", "show", station["mac"], source=source))
                self.assertEqual(shown["stations"], [station])


BARE = {
    # The home's model and nothing beside it: no names of stations, nothing of the gateway's own. That it is the
    # Controller follows from the names that it was told.
    "devices": """\
DEVICE       AL MAC             ROLE        UPLINK TO          OVER   SIGNAL dBm  RATE Mbit/s  STATIONS  WIRED  ADDRESS        FIRMWARE
-            02:c0:00:00:00:01  controller  -                  -               -            -         -      -  -              -
living-room  02:0a:00:00:00:01  agent       02:c0:00:00:00:01  5 GHz         -46            -         6      2  192.168.1.20   2.4.1
attic        02:0b:00:00:00:01  agent       living-room        5 GHz         -57            -         4      0  192.168.1.121  2.3.9
""",
    "links": """\
DEVICE       UPLINK TO          OVER   SIGNAL dBm  RATE Mbit/s  HOPS
living-room  02:c0:00:00:00:01  5 GHz         -46            -     1
attic        living-room        5 GHz         -57            -     2
""",
    "tree": """\
02:c0:00:00:00:01  controller
└─ living-room  02:0a:00:00:00:01  5 GHz -46 dBm  6 stations, 2 wired
   └─ attic  02:0b:00:00:00:01  5 GHz -57 dBm  4 stations
""",
    "stations --device attic": """\
STATION  MAC                ADDRESS  AT     ON       SIGNAL dBm  RATE Mbit/s
-        02:57:00:00:00:21  -        attic  2.4 GHz         -66           58
-        02:57:00:00:00:22  -        attic  2.4 GHz         -72           26
-        02:57:00:00:00:23  -        attic  5 GHz           -54          866
-        02:57:00:00:00:24  -        attic  5 GHz           -60          650
""",
    "path 02:57:00:00:00:24": """\
02:57:00:00:00:24
  │ 5 GHz -60 dBm 650 Mbit/s
attic  02:0b:00:00:00:01
  │ 5 GHz -57 dBm
living-room  02:0a:00:00:00:01
  │ 5 GHz -46 dBm
02:c0:00:00:00:01
""",
    "show 02:57:00:00:00:24": """\
station 02:57:00:00:00:24
  MAC        02:57:00:00:00:24  (chosen by itself)
  at         attic
  link       5 GHz -60 dBm 650 Mbit/s
""",
}


class EverythingMissing(unittest.TestCase):
    def test_what_a_bundle_with_the_model_alone_tells(self):
        folder = Path(tempfile.mkdtemp(prefix="qo1905-bare."))
        self.addCleanup(shutil.rmtree, folder)
        said = run([QO1905, "-s", HOME / "tmp/qo1905.json", "bundle", folder / "bare.tar.gz"])
        self.assertEqual(said.returncode, 0)
        self.assertEqual(said.stderr.decode().count("not in the bundle: "), 4)
        for words, wanted in BARE.items():
            self.assertEqual(ask(*words.split(), source=folder / "bare.tar.gz"), wanted)
        status = ask("status", source=folder / "bare.tar.gz")
        for part in ("tmp/dump.txt", "var/dnsmasq/dnsmasq.leases", "tmp/ecnt_agent_assoc_list.24g", "tmp/ecnt_agent_assoc_list.5g"):
            self.assertIn(f"{part}: not in the bundle\n", status)
        self.assertIn("stations  5 on 2.4 GHz, 5 on 5 GHz, 2 wired; not those of the device that wrote the model\n", status)


if __name__ == "__main__":
    unittest.main()
