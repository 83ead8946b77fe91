"""Every verb in every format, byte for byte: what the home should look like is worked out here from its scenario and the
rules of docs/qo1905.md, once with all files and once from a bundle that has the model alone.

usage: golden_test.py PROJECT QO1905"""

import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROJECT, QO1905 = Path(sys.argv.pop(1)), Path(sys.argv.pop(1)).resolve()
SCENARIO = json.loads((PROJECT / "lab/scenarios/home.json").read_text())
MODEL = json.loads((PROJECT / "docs/examples/home/tmp/qo1905.json").read_text())
WRITTEN = 1700000042  # 2023-11-14 22:14:02 UTC
ETHERNET = "IEEE 802.3u(IEEE 802.3u Fast Ethernet)"
WIFI = {"2.4 GHz": "IEEE 802.11n 2.4(IEEE 802.11n (2.4GHz))", "5 GHz": "IEEE 802.11n 5.0(IEEE 802.11n (5GHz))"}
FORMATS = ("table", "wide", "json", "ndjson", "tsv", "value")


# --- the world, from the scenario ---


class World:
    """What can be known of the home: all of it, or what its model alone tells."""

    def __init__(self, whole):
        self.whole = whole
        self.devices = [self.device(device) for device in SCENARIO["devices"]]
        self.by_name = {device["name"]: device for device in SCENARIO["devices"]}
        for device, told in zip(self.devices, SCENARIO["devices"], strict=True):
            if "backhaul" in told:
                uplink = told["backhaul"]
                device.update(parent=self.by_name[uplink["to"]]["al_mac"], medium=uplink["over"], signal=uplink["signal"])
                if whole:
                    device["rate"] = uplink["rate"]
        hops = {self.devices[0]["al_mac"]: 0}
        for device in self.devices[1:]:
            hops[device["al_mac"]] = hops[device["parent"]] + 1
        for device in self.devices:
            device["hops"] = hops[device["al_mac"]]
        self.stations = [station for device in SCENARIO["devices"] for station in self.stations_of(device)]

    def device(self, told):
        is_local = told["role"] == "controller"
        device = {"al_mac": told["al_mac"], "local": is_local}
        if self.whole or not is_local:
            device["name"] = told["name"]
        device["role"] = told["role"]
        if not is_local:
            device.update(address=told.get("lease_ip", told["ip"]), firmware=told["firmware_version"])
        return device

    def stations_of(self, told):
        if told["role"] == "controller" and not self.whole:
            return []
        stations = []
        for station in SCENARIO["stations"]:
            if station["device"] == told["name"]:
                bss = next(bss for radio in told["radios"] if (radio["channel"] < 36) == (station["band"] == "2.4 GHz")
                           for bss in radio["bss"] if bss.get("use") != "backhaul")
                seen = {"mac": station["mac"], "device": told["al_mac"], "interface": bss["bssid"], "band": station["band"],
                        "signal": station["signal"], "rate": station["rate"], "wired": False}
                if self.whole:
                    seen.update(name=station["host_name"], address=station["ip"])
                    if told["role"] == "agent":  # the lists have the Agents' stations
                        seen["interface_name"] = bss["interface"]
                stations.append(seen)
        for mac in told.get("wired_clients", []):
            stations.append({"mac": mac, "device": told["al_mac"], "interface": told["al_mac"], "wired": True})
        return sorted(stations, key=lambda station: station["mac"])

    def label(self, al_mac):
        device = next(device for device in self.devices if device["al_mac"] == al_mac)
        return device.get("name", al_mac)

    def knows(self, device):
        return self.whole or not device["local"]

    def count(self, device, wired):
        return sum(station["device"] == device["al_mac"] and station["wired"] == wired for station in self.stations)

    # --- as JSON ---

    def interfaces(self, device):
        """Of an Agent as the model prints them; the model has none of the device's own that writes it."""
        told = self.by_name[device.get("name", SCENARIO["devices"][0]["name"])]
        rows = []
        for radio in told["radios"]:
            band = "2.4 GHz" if radio["channel"] < 36 else "5 GHz"
            rows += [(bss["bssid"], WIFI[band], band, "bss") for bss in radio["bss"]]
        if not device["local"]:
            rows.append((device["al_mac"], ETHERNET, None, "other"))
            uplink = re.sub("..$", "0c", device["al_mac"])
            rows.append((uplink, WIFI[told["backhaul"]["over"]], told["backhaul"]["over"], "uplink"))
        # What an interface is for stands in the dump alone.
        return sorted(row if self.whole else (*row[:3], "other") for row in rows)

    def heading(self, source):
        return {"schema": 1, "source": source, "time": "2023-11-14T22:14:02Z"}

    def device_json(self, device):
        keys = ("al_mac", "local", "name", "role", "address", "firmware", "parent", "hops", "medium", "signal", "rate")
        return {key: device[key] for key in keys if key in device}

    def station_json(self, station):
        keys = ("mac", "device", "name", "address", "interface", "interface_name", "band", "signal", "rate", "wired")
        return {**{key: station[key] for key in keys if key in station}, "random_mac": True}


# --- formats ---


def rows_of(columns, rows, format, chosen=None):
    """A table as it should leave. A column: id, heading, in the table or only in the wide one, numbers to the right."""
    ids = [column[0] for column in columns]
    if chosen:
        places = [ids.index(name) for name in chosen]
    else:
        places = [i for i, column in enumerate(columns) if column[2] or format in ("wide", "tsv")]
    if format in ("tsv", "value"):
        lines = ["\t".join(row[i] for i in places) for row in rows]
        return "".join(line + "\n" for line in (["\t".join(ids[i] for i in places)] if format == "tsv" else []) + lines)
    cells = [[columns[i][1] for i in places]] + [[row[i] or "-" for i in places] for row in rows]
    widths = [max(len(line[k]) for line in cells) for k in range(len(places))]
    text = ""
    for line in cells:
        padded = [cell.rjust(width) if columns[i][3] else cell.ljust(width) for cell, width, i in zip(line, widths, places, strict=True)]
        text += "  ".join(padded).rstrip() + "\n"
    return text


def text_of(value):
    return "" if value is None else str(value)


def devices_table(world):
    columns = [("name", "DEVICE", 1, 0), ("al_mac", "AL MAC", 1, 0), ("role", "ROLE", 1, 0), ("parent", "UPLINK TO", 1, 0),
               ("medium", "OVER", 1, 0), ("signal", "SIGNAL dBm", 1, 1), ("rate", "RATE Mbit/s", 1, 1),
               ("stations", "STATIONS", 1, 1), ("wired", "WIRED", 1, 1), ("address", "ADDRESS", 1, 0),
               ("firmware", "FIRMWARE", 1, 0), ("hops", "HOPS", 0, 1)]
    rows = []
    for device in world.devices:
        counts = [str(world.count(device, wired)) if world.knows(device) else "" for wired in (False, True)]
        parent = world.label(device["parent"]) if "parent" in device else ""
        rows.append([device.get("name", ""), device["al_mac"], device["role"], parent, device.get("medium", ""),
                     text_of(device.get("signal")), text_of(device.get("rate")), *counts, device.get("address", ""),
                     device.get("firmware", ""), str(device["hops"])])
    return columns, rows


def links_table(world):
    columns = [("device", "DEVICE", 1, 0), ("parent", "UPLINK TO", 1, 0), ("medium", "OVER", 1, 0),
               ("signal", "SIGNAL dBm", 1, 1), ("rate", "RATE Mbit/s", 1, 1), ("hops", "HOPS", 1, 1)]
    return columns, [[world.label(device["al_mac"]), world.label(device["parent"]), device["medium"], str(device["signal"]),
                      text_of(device.get("rate")), str(device["hops"])] for device in world.devices if "parent" in device]


def stations_table(world):
    columns = [("name", "STATION", 1, 0), ("mac", "MAC", 1, 0), ("address", "ADDRESS", 1, 0), ("device", "AT", 1, 0),
               ("band", "ON", 1, 0), ("signal", "SIGNAL dBm", 1, 1), ("rate", "RATE Mbit/s", 1, 1),
               ("interface_name", "INTERFACE", 0, 0), ("interface", "BSSID", 0, 0), ("random_mac", "RANDOM MAC", 0, 0)]
    return columns, [[s.get("name", ""), s["mac"], s.get("address", ""), world.label(s["device"]), s.get("band", "wired"),
                      text_of(s.get("signal")), text_of(s.get("rate")), s.get("interface_name", ""), s["interface"], "yes"]
                     for s in world.stations]


def link_text(link):
    words = [link["medium"] if "medium" in link else "wired" if link.get("wired") else link["band"]]
    words += [f"{link['signal']} dBm"] if "signal" in link else []
    words += [f"{link['rate']} Mbit/s"] if "rate" in link else []
    return " ".join(words)


def titled(item, mac):
    return f"{item['name']}  {mac}" if "name" in item else mac


def count_text(world, device):
    stations, wired = world.count(device, False), world.count(device, True)
    return f"{stations} station{'' if stations == 1 else 's'}" + (f", {wired} wired" if wired else "")


def tree_text(world):
    """The home is a chain: gateway, living-room, attic."""
    text = ""
    for level, device in enumerate(world.devices):
        text += "   " * (level - 1) + "└─ " if level else ""
        text += titled(device, device["al_mac"]) + "  " + (link_text(device) if level else device["role"])
        text += f"  {count_text(world, device)}\n" if world.count(device, False) + world.count(device, True) else "\n"
    return text


def path_text(world, station):
    text = titled(station, station["mac"]) + "\n  │ " + link_text(station) + "\n"
    device = next(device for device in world.devices if device["al_mac"] == station["device"])
    while True:
        text += titled(device, device["al_mac"]) + "\n"
        if "parent" not in device:
            return text
        text += "  │ " + link_text(device) + "\n"
        device = next(other for other in world.devices if other["al_mac"] == device["parent"])


def hops_json(world, al_mac):
    device = next(device for device in world.devices if device["al_mac"] == al_mac)
    return [world.device_json(device), *(hops_json(world, device["parent"]) if "parent" in device else [])]


def card(world, device):
    lines = [f"device {device.get('name', device['al_mac'])}"]

    def line(what, value):
        if value:
            lines.append(f"  {what:<11}{value}")

    line("AL MAC", device["al_mac"])
    line("role", device["role"])
    line("address", device.get("address"))
    line("firmware", device.get("firmware"))
    line("uplink", f"{world.label(device['parent'])}, {link_text(device)}" if "parent" in device else "")
    line("hops", str(device["hops"]))
    line("stations", count_text(world, device))
    for mac, media_type, band, use in world.interfaces(device):
        line("interface", "  ".join(part for part in (mac, use, band, media_type) if part))
    return "\n".join(lines) + "\n"


def paths(value, prefix="Device"):
    """Every value of the model, a list as one."""
    for key, inner in value.items():
        if isinstance(inner, dict):
            yield from paths(inner, f"{prefix}.{key}")
        else:
            yield f"{prefix}.{key}", inner


# --- the test ---


class Golden(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="qo1905-golden."))
        self.addCleanup(shutil.rmtree, self.folder)
        shutil.copytree(PROJECT / "docs/examples/home", self.folder / "home")
        shutil.copytree(PROJECT / "docs/examples/later", self.folder / "later")
        for file in self.folder.rglob("*"):
            os.utime(file, (WRITTEN, WRITTEN))
        self.ask("-s", "home/tmp/qo1905.json", "bundle", "bare.tar.gz")

    def ask(self, *words):
        said = subprocess.run([QO1905, *words], capture_output=True, text=True, cwd=self.folder, timeout=60,
                              env={"LC_ALL": "C.UTF-8", "PATH": os.environ["PATH"], "TERM": "dumb", "TZ": "UTC"})
        self.assertIn(said.returncode, (0, 2), said.stderr)
        return said.stdout if said.returncode == 0 else "refused: " + said.stderr

    def worlds(self):
        return (("home", World(True)), ("bare.tar.gz", World(False)))

    def assert_json(self, text, wanted, source, without=("interfaces", "neighbours")):
        """But for what differs from run to run, and interfaces and neighbours, which have tests of their own."""
        def stripped(value):
            if isinstance(value, list):
                return [stripped(inner) for inner in value]
            if isinstance(value, dict):
                return {key: stripped(inner) for key, inner in value.items() if key not in (*without, "read_at", "age", "missing")}
            return value

        self.assertEqual(stripped(json.loads(text)), stripped(wanted), source)

    def test_lists(self):
        for source, world in self.worlds():
            for verb, make, items in (
                ("devices", devices_table, [world.device_json(device) for device in world.devices]),
                ("stations", stations_table, [world.station_json(station) for station in world.stations]),
                ("links", links_table, [{"device": device["al_mac"], **{key: device[key] for key in ("name", "parent", "medium", "signal", "rate", "hops") if key in device}}
                                        for device in world.devices if "parent" in device]),
            ):
                columns, rows = make(world)
                for format in ("table", "wide", "tsv", "value"):
                    self.assertEqual(self.ask("-s", source, "-o", format, verb), rows_of(columns, rows, format), (source, verb, format))
                chosen = [columns[1][0], columns[0][0]]
                for format in ("table", "tsv", "value"):
                    self.assertEqual(self.ask("-s", source, "-o", format, "--columns", ",".join(chosen), verb),
                                     rows_of(columns, rows, format, chosen), (source, verb, format))
                self.assert_json(self.ask("-s", source, "-o", "json", verb), {**world.heading(source), verb: items}, source)
                lines = self.ask("-s", source, "-o", "ndjson", verb).splitlines()
                self.assert_json("[" + ",".join(lines) + "]", items, source)

    def test_neighbours(self):
        """Parent and children: in a mesh of the lab nobody hears anybody else."""
        for source, world in self.worlds():
            links = {(device["al_mac"], device["parent"]) for device in world.devices if "parent" in device}
            both = links | {(parent, child) for child, parent in links}
            for device in json.loads(self.ask("-s", source, "-o", "json", "devices"))["devices"]:
                if not world.knows(device):
                    self.assertEqual(device["neighbours"], [], "the model has none of the device's own that writes it")
                    continue
                told = [neighbour["al_mac"] for neighbour in device["neighbours"]]
                self.assertEqual(told, sorted(other for one, other in both if one == device["al_mac"]), (source, device["al_mac"]))

    def test_interfaces(self):
        for source, world in self.worlds():
            for device, told in zip(world.devices, json.loads(self.ask("-s", source, "-o", "json", "devices"))["devices"], strict=True):
                if not device["local"]:
                    wanted = [{key: value for key, value in zip(("mac", "media_type", "band", "use"), row, strict=True) if value}
                              for row in world.interfaces(device)]
                    self.assertEqual(told["interfaces"], wanted)

    def test_pictures(self):
        for source, world in self.worlds():
            station = world.stations[-1]
            attic = world.devices[2]
            devices = sorted(world.devices, key=lambda device: device["al_mac"])
            whole = {**world.heading(source), "devices": [world.device_json(device) for device in devices],
                     "stations": [world.station_json(s) for s in sorted(world.stations, key=lambda s: s["mac"])]}
            way = {**world.heading(source), "paths": [{"station": world.station_json(station), "hops": hops_json(world, station["device"])}]}
            shown = {**world.heading(source), "devices": [world.device_json(attic)], "stations": []}
            for words, text, value in ((["tree"], tree_text(world), whole), (["path", station["mac"]], path_text(world, station), way),
                                       (["show", attic["al_mac"]], card(world, attic), shown)):
                for format in ("table", "wide"):
                    self.assertEqual(self.ask("-s", source, "-o", format, *words), text, (source, words))
                for format in ("json", "ndjson"):
                    out = self.ask("-s", source, "-o", format, *words)
                    self.assert_json(out, value, source)
                    self.assertEqual(out.count("\n") == 1, format == "ndjson")
                for format in ("tsv", "value"):
                    self.assertTrue(self.ask("-s", source, "-o", format, *words).startswith("refused: "))

    def test_status(self):
        for source, world in self.worlds():
            bands = [sum(station.get("band") == band for station in world.stations) for band in ("2.4 GHz", "5 GHz")]
            wired = sum(station["wired"] for station in world.stations)
            text = self.ask("-s", source, "status")
            gateway = world.devices[0]
            self.assertTrue(text.startswith(f"mesh      of {gateway.get('name', gateway['al_mac'])}, written 2023-11-14 22:14:02, "), text)
            rest = "" if world.whole else "; not those of the device that wrote the model"
            self.assertIn(f"\ndevices   3 devices, all reach the gateway\nlinks     no weak one\n"
                          f"stations  {bands[0]} on 2.4 GHz, {bands[1]} on 5 GHz, {wired} wired{rest}\nweak      none\nchanged   not known", text)
            self.assertEqual(text.count("\nmissing   "), 0 if world.whole else 4)
            self.assertTrue(text.endswith("all is well" + ("\n" if world.whole else ", as far as these files tell\n")), text)
            wanted = {**world.heading(source), "well": True, "devices": 3, "stations": {"2.4 GHz": bands[0], "5 GHz": bands[1], "wired": wired},
                      "unreachable": [], "weak_links": [], "weak_stations": []}
            for format in ("json", "ndjson"):
                self.assert_json(self.ask("-s", source, "-o", format, "status"), wanted, source)

    def test_values(self):
        for source in ("home", "bare.tar.gz"):
            # A bundle has the model without the password.
            values = [(path, "" if path.endswith(".Password") and source != "home" else value) for path, value in paths(MODEL["Device"])]
            texts = [value if isinstance(value, str) else json.dumps(value, separators=(",", ":")) for _, value in values]
            lines = [f"{path} => {text}\n" for (path, _), text in zip(values, texts, strict=True)]
            for words in (["get", "Device."], ["export", "tr181"]):
                for format in ("table", "wide"):
                    self.assertEqual(self.ask("-s", source, "-o", format, *words), "".join(lines))
                self.assertEqual(self.ask("-s", source, "-o", "value", *words), "".join(text + "\n" for text in texts))
                self.assertEqual(self.ask("-s", source, "-o", "tsv", *words),
                                 "path\tvalue\n" + "".join(f"{path}\t{text}\n" for (path, _), text in zip(values, texts, strict=True)))
                items = [{"path": path, "value": value} for path, value in values]
                self.assertEqual(json.loads(self.ask("-s", source, "-o", "json", *words)), {"schema": 1, "values": items})
                self.assertEqual([json.loads(line) for line in self.ask("-s", source, "-o", "ndjson", *words).splitlines()], items)

    def test_differences(self):
        """tv went from living-room to attic, phone-anna the other way."""
        home, room, attic = World(True), "02:0a:00:00:00:01", "02:0b:00:00:00:01"
        moved = []
        for name, old, new in (("tv", room, attic), ("phone-anna", attic, room)):
            station = next(station for station in home.stations if station.get("name") == name)
            moved.append((station, [{"device": al_mac, "device_name": home.label(al_mac), "band": "5 GHz", "signal": station["signal"], "wired": False}
                                    for al_mac in (old, new)]))
        words = "".join(f"{s['name']} ({s['mac']}) roamed from {old['device_name']}, 5 GHz {s['signal']} dBm, to {new['device_name']}, 5 GHz {s['signal']} dBm\n"
                        for s, (old, new) in moved)
        columns = [("event", "EVENT", 1, 0), ("name", "WHO", 1, 0), ("mac", "MAC", 1, 0), ("from", "BEFORE", 1, 0), ("to", "AFTER", 1, 0), ("time", "TIME", 0, 0)]
        items = [{"schema": 1, "event": "roam", "time": "2023-11-14T22:14:02Z", "station": s["mac"], "name": s["name"], "from": old, "to": new}
                 for s, (old, new) in moved]
        for command in (["diff", "home", "later"], ["-s", "later", "events", "--since", "home"]):
            for format in FORMATS:
                out = self.ask("-o", format, *command)
                if format in ("table", "wide") and "events" in command:
                    self.assertEqual(out, "".join(f"2023-11-14 22:14:02  {line}\n" for line in words.splitlines()))
                elif format in ("table", "wide", "tsv", "value"):
                    time = "2023-11-14 22:14:02" if format == "wide" else "2023-11-14T22:14:02Z"
                    rows = [["roam", s["name"], s["mac"], f"{old['device_name']}, 5 GHz {s['signal']} dBm", f"{new['device_name']}, 5 GHz {s['signal']} dBm", time]
                            for s, (old, new) in moved]
                    self.assertEqual(out, rows_of(columns, rows, format), (command, format))
                elif format == "json" and "diff" in command:
                    self.assertEqual(json.loads(out)["events"], items)
                else:
                    self.assertEqual([json.loads(line) for line in out.splitlines()], items)
        self.assertEqual(self.ask("diff", "home", "later"), words)

    def test_what_has_one_form(self):
        verbs = (["export", "dot"], ["export", "netjson"], ["export", "prometheus"], ["schema", "event"],
                 ["wait", "--for", "devices=1"], ["bundle", "-"], ["completion", "bash"])
        for words, status in [(["check"], 3)] + [(verb, 2) for verb in verbs]:
            for format in FORMATS[1:]:
                refused = subprocess.run(
                    [QO1905, "-s", self.folder / "home", "-o", format, *words], capture_output=True, text=True)
                self.assertEqual(refused.returncode, status, words)
                self.assertEqual(refused.stdout, "")
                self.assertIn("has one output", refused.stderr)


if __name__ == "__main__":
    unittest.main()
