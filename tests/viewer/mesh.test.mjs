// What a mesh is asked.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";
import * as mesh from "../../viewer/mesh.js";

const device = (mac, more) => ({ al_mac: mac, local: false, interfaces: [], neighbours: [], ...more });
const station = (mac, at, more) => ({ mac, device: at, wired: false, random_mac: false, ...more });

function home() {
  const all = mesh.emptyMesh({ source: "test", time: "2026-11-22T03:00:00Z", missing: [] });
  mesh.addDevice(all, device("g", { name: "gateway", hops: 0 }));
  mesh.addDevice(all, device("a", { name: "Attic", hops: 1, parent: "g", signal: -80, rate: 866 }));
  mesh.addDevice(all, device("c", { hops: 2, parent: "a", rate: 54, interfaces: [{ mac: "02:00:00:00:00:cc" }] }));
  mesh.addStation(
    all,
    station("02:00:00:00:00:01", "a", { name: "Phone", band: "5 GHz", signal: -76, address: "10.0.0.9" }),
  );
  mesh.addStation(
    all,
    station("02:00:00:00:00:02", "a", { name: "tv", band: "2.4 GHz", signal: -75, address: "10.0.0.10" }),
  );
  mesh.addStation(all, station("02:00:00:00:00:03", "g", { wired: true }));
  return all;
}

test("stations are counted where they are", () => {
  assert.deepEqual(mesh.countsOf(home(), "a"), { all: 2, low: 1, high: 1, wired: 0, weak: 1 });
  assert.deepEqual(mesh.countsOf(home(), "none"), { all: 0, low: 0, high: 0, wired: 0, weak: 0 });
});

test("health counts weak stations, weak and slow links, and what has no way", () => {
  const all = home();
  mesh.addDevice(all, device("lost"));
  assert.deepEqual(mesh.health(all), { devices: 4, stations: 3, wired: 1, weak: 1, weakLinks: 2, unreachable: 1 });
});

test("weak, slow and old are what the command calls so", () => {
  const header = (name) => readFileSync(new URL(`../../cli/${name}`, import.meta.url), "utf8");
  const constant = (text, name) => Number(text.match(new RegExp(`${name} = (-?\\d+)`))[1]);
  assert.equal(mesh.FAIR_SIGNAL, constant(header("tone.h"), "kFairSignal"));
  assert.equal(mesh.WEAK_SIGNAL, constant(header("tone.h"), "kWeakSignal"));
  assert.equal(mesh.SLOW_LINK, constant(header("health.h"), "kSlowLink"));
  assert.equal(mesh.OLD, constant(header("health.h"), "kFresh"));
});

test("a signal at a limit is on its better side", () => {
  assert.deepEqual([-66, -67, -68, -75, -76, undefined].map(mesh.toneOf), [
    "good",
    "good",
    "fair",
    "fair",
    "bad",
    "none",
  ]);
});

test("the way leads to the gateway, and out of no loop", () => {
  assert.deepEqual(mesh.wayOf(home(), "c"), ["c", "a", "g"]);
  assert.deepEqual(mesh.wayOf(home(), "unknown"), []);
  const loop = home();
  loop.devices.get("g").parent = "c";
  assert.deepEqual(mesh.wayOf(loop, "c"), ["c", "a", "g"]);
});

test("search goes by name, MAC, interface and address, whatever the case", () => {
  const found = (text) => mesh.search(home(), text).map((item) => item.label);
  assert.deepEqual(found("ATTIC"), ["Attic"]);
  assert.deepEqual(found("10.0.0.1"), ["tv"]);
  assert.deepEqual(found("02-00-00-00-00-03"), ["02:00:00:00:00:03"]);
  assert.deepEqual(found("00:CC"), ["c"]);
  assert.deepEqual(found("  "), []);
  assert.deepEqual(found(".*"), []);
});

test("filters go together", () => {
  const macs = (filter) => mesh.filterStations(home(), filter).map((item) => item.mac.slice(-2));
  assert.deepEqual(macs({}), ["01", "02", "03"]);
  assert.deepEqual(macs({ band: "wired" }), ["03"]);
  assert.deepEqual(macs({ weak: true }), ["01"]);
  assert.deepEqual(macs({ device: "a", text: "T" }), ["02"]);
  assert.deepEqual(macs({ device: "nobody" }), []);
});

test("what is unknown stands last in both directions", () => {
  const all = home();
  const sorted = (key, isDown) =>
    mesh.sortStations(all, [...all.stations.values()], key, isDown).map((s) => s.mac.slice(-2));
  assert.deepEqual(sorted("signal", false), ["01", "02", "03"]);
  assert.deepEqual(sorted("signal", true), ["02", "01", "03"]);
  assert.deepEqual(sorted("address", false), ["01", "02", "03"], "10.0.0.9 is before 10.0.0.10");
  assert.deepEqual(sorted("name", true), ["02", "01", "03"]);
});

test("what moves a cursor or turns the writing is shown as what it is", () => {
  assert.equal(mesh.visible("a\u001b[2Jb\u202ec\u0000\u200b"), "a\ufffd[2Jb\ufffdc\ufffd\ufffd");
  assert.equal(mesh.visible("Zoë 日本 <b>"), "Zoë 日本 <b>");
});

test("long names are cut between letters", () => {
  assert.equal(mesh.cut("😀😀😀😀", 3), "😀😀…");
  assert.equal(mesh.cut("abc", 3), "abc");
  assert.equal(mesh.cut("a".repeat(1e6), 10).length, 10);
});

test("neighbours are pairs that are no links of the tree", () => {
  const all = home();
  all.devices.get("g").neighbours = [{ al_mac: "c" }, { al_mac: "a" }, { al_mac: "nobody" }];
  all.devices.get("c").neighbours = [{ al_mac: "g", medium: "5 GHz", signal: -70 }];
  assert.deepEqual(mesh.neighbourPairs(all), [{ one: "c", other: "g", medium: "5 GHz", signal: -70 }]);
});
