// Where devices stand.
import assert from "node:assert/strict";
import { test } from "node:test";
import { geometry, place } from "../../viewer/layout.js";

/** A mesh from "mac hops parent" lines. */
const mesh = (...lines) =>
  new Map(
    lines.map((line) => {
      const [mac, hops, parent] = line.split(" ");
      return [mac, { al_mac: mac, hops: hops === "-" ? undefined : Number(hops), parent, name: `name of ${mac}` }];
    }),
  );
const spots = (known) => Object.fromEntries([...known].map(([mac, { column, row }]) => [mac, [column, row]]));
const HOME = ["a 0", "b 1 a", "c 1 a", "d 2 b", "e 2 b", "f 2 c"];
const other = (line) => HOME.map((old) => (old[0] === line[0] ? line : old));
const PLACES = { a: [0, 0], b: [1, 0], d: [2, 0], e: [2, 1], c: [1, 2], f: [2, 2] };

test("a column for each hop, and a child in the row of its parent", () => {
  assert.deepEqual(spots(place(new Map(), mesh(...HOME), 0)), PLACES);
});

test("another order in the file is the same picture", () => {
  assert.deepEqual(spots(place(new Map(), mesh(...[...HOME].reverse()), 0)), PLACES);
});

test("a refresh moves nothing", () => {
  const first = place(new Map(), mesh(...HOME), 0);
  assert.deepEqual(spots(place(first, mesh(...HOME), 1)), PLACES);
});

test("a device that is gone keeps its place and its name, and has it when it is back", () => {
  const first = place(new Map(), mesh(...HOME), 0);
  const without = place(first, mesh("a 0", "c 1 a", "f 2 c"), 7);
  assert.deepEqual(spots(without), PLACES);
  assert.equal(without.get("b").gone, 7);
  assert.equal(without.get("b").name, "name of b");
  const still = place(without, mesh("a 0", "c 1 a", "f 2 c"), 9);
  assert.equal(still.get("b").gone, 7, "since when it was missed first");
  const back = place(still, mesh(...HOME), 11);
  assert.deepEqual(spots(back), PLACES);
  assert.equal(back.get("b").gone, undefined);
});

test("a new device takes a free place and pushes nobody", () => {
  const first = place(new Map(), mesh(...HOME), 0);
  const more = place(first, mesh(...HOME, "0 1 a", "g 3 f"), 1);
  for (const mac of "abcdef") assert.deepEqual(spots(more)[mac], PLACES[mac]);
  assert.deepEqual(spots(more)["0"], [1, 1], "in the first free row of its column");
  assert.deepEqual(spots(more).g, [3, 2], "beside its parent");
});

test("a device that has another parent as far away stays; one that is nearer now moves alone", () => {
  const first = place(new Map(), mesh(...HOME), 0);
  assert.deepEqual(spots(place(first, mesh(...other("d 2 c")), 1)), PLACES);
  const nearer = spots(place(first, mesh(...other("d 1 a")), 1));
  assert.deepEqual(nearer, { ...PLACES, d: [1, 1] });
});

test("a device whose way is unknown for a while stays", () => {
  const first = place(new Map(), mesh(...HOME), 0);
  assert.deepEqual(spots(place(first, mesh(...other("d -")), 1)), PLACES);
});

test("devices without a way stand below the others", () => {
  assert.deepEqual(spots(place(new Map(), mesh("z -", "a 0", "b 1 a"), 0)), { a: [0, 0], b: [1, 0], z: [0, 1] });
});

test("no two stand at the same place, whatever comes and goes", () => {
  let seed = 1;
  const random = (n) => (seed = (seed * 48271) % 2147483647) % n;
  let known = new Map();
  for (let round = 0; round < 300; round++) {
    const devices = new Map([["r", { al_mac: "r", hops: 0 }]]);
    for (let i = 0; i < random(30); i++) {
      const parent = [...devices.values()][random(devices.size)];
      const mac = `m${random(40)}`;
      if (!devices.has(mac)) devices.set(mac, { al_mac: mac, hops: parent.hops + 1, parent: parent.al_mac });
    }
    const next = place(known, devices, round);
    const taken = [...next.values()].map(({ column, row }) => `${column} ${row}`);
    assert.equal(new Set(taken).size, taken.length, `round ${round}`);
    for (const [mac, before] of known) {
      const device = devices.get(mac);
      if (!device || device.hops === before.column) assert.deepEqual(spots(next)[mac], [before.column, before.row]);
    }
    known = next;
  }
});

test("parents that contradict each other end", () => {
  const known = place(new Map(), mesh("a 1 b", "b 1 a", "c 2 c"), 0);
  assert.equal(known.size, 3);
});

test("ten thousand levels are placed", () => {
  const lines = ["0 0"];
  for (let i = 1; i < 10000; i++) lines.push(`${i} ${i} ${i - 1}`);
  assert.deepEqual(spots(place(new Map(), mesh(...lines), 0))["9999"], [9999, 0]);
});

test("boxes do not overlap, on a screen and on a telephone", () => {
  const known = place(new Map(), mesh(...HOME), 0);
  for (const width of [360, 1280]) {
    const { boxes, width: all } = geometry(known, width);
    const list = [...boxes.values()];
    for (const a of list)
      for (const b of list)
        if (a !== b)
          assert.ok(a.x + a.width <= b.x || b.x + b.width <= a.x || a.y + a.height <= b.y || b.y + b.height <= a.y);
    if (width === 360) assert.ok(all <= 360, "a telephone is not wider than it is");
  }
});
