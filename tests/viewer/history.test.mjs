// What a curve is made of, without a browser.
import assert from "node:assert/strict";
import { test } from "node:test";
import { bandsOf, withHoles } from "../../viewer/curves.js";

const at = (seconds) => new Date(seconds * 1000).toISOString();
const session = (since, until, name, medium) => ({
  since: at(since),
  ...(until && { until: at(until) }),
  at: { device: "02:0a:00:00:00:01", name, medium },
});

test("a step that is missing or two are drawn through, more are a hole", () => {
  assert.deepEqual(withHoles([0, 20, 60, 120], [[1, 2, 3, 4]], 20), [
    [0, 20, 60, 120],
    [1, 2, 3, 4],
  ]);
  assert.deepEqual(
    withHoles(
      [0, 20, 100],
      [
        [1, 2, 3],
        [4, null, 6],
      ],
      20,
    ),
    [
      [0, 20, 40, 100],
      [1, 2, null, 3],
      [4, null, null, 6],
    ],
  );
  assert.deepEqual(withHoles([], [[]], 300), [[], []]);
});

test("bands are the parts of sessions that can be seen", () => {
  const window = { from: 100, until: 200, gaps: [] };
  assert.deepEqual(
    bandsOf(
      [
        session(0, 120, "attic", "5 GHz"),
        session(120, 150, "cellar", "5 GHz"),
        session(150, undefined, "attic", "5 GHz"),
      ],
      window,
    ),
    [
      { from: 100, until: 120, name: "attic 5 GHz", isOdd: false },
      { from: 120, until: 150, name: "cellar 5 GHz", isOdd: true },
      { from: 150, until: 200, name: "attic 5 GHz", isOdd: false },
    ],
  );
});

test("two sessions at one place without a gap are one band, with one they are two", () => {
  const window = { from: 0, until: 200, gaps: [] };
  const two = [
    session(0, 50, "attic", "5 GHz"),
    session(50, 100, "attic", "5 GHz"),
    session(130, 150, "attic", "5 GHz"),
  ];
  assert.deepEqual(
    bandsOf(two, window).map(({ from, until }) => [from, until]),
    [
      [0, 100],
      [130, 150],
    ],
  );
});

test("names that would turn the text around lose what does so", () => {
  const [band] = bandsOf([session(0, 10, "a\u202eb")], { from: 0, until: 10, gaps: [] });
  assert.equal(band.name, "a\ufffdb");
});
