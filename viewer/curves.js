// What a curve shows: numbers in columns, gaps as gaps, places as bands behind. Nothing here draws but through the chart.

import { visible } from "./mesh.js";
import { texts } from "./texts.js";

/** @typedef {{from: number, until: number, gaps: any[]}} Window */

const CYCLE = 20; // seconds between two samples

const seconds = (/** @type {string} */ time) => Date.parse(time) / 1000;
const colour = (/** @type {string} */ name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();

/** Columns with a hole wherever two rows are further apart than they should be: nothing is drawn through what nobody
 * knows. @param {number[]} times @param {(number | null)[][]} columns @param {number} step */
export function withHoles(times, columns, step) {
  /** @type {(number | null)[][]} */
  const out = [[], ...columns.map(() => [])];
  times.forEach((time, i) => {
    if (i > 0 && time - times[i - 1] > 3 * step) {
      out[0].push(times[i - 1] + step);
      columns.forEach((_, k) => out[k + 1].push(null));
    }
    out[0].push(time);
    columns.forEach((column, k) => out[k + 1].push(column[i]));
  });
  return out;
}

/** Stretches of the window at one place each, in turn. @param {any[]} sessions @param {Window} window */
export function bandsOf(sessions, { from, until }) {
  /** @type {{from: number, until: number, name: string, isOdd: boolean}[]} */
  const bands = [];
  /** @type {Map<string, number>} */
  const numbers = new Map();
  for (const session of sessions) {
    const place = visible([session.at.name ?? session.at.device, session.at.medium].filter(Boolean).join(" "));
    const begin = Math.max(from, seconds(session.since));
    const end = Math.min(until, session.until ? seconds(session.until) : until);
    if (end <= begin || place === "") continue;
    if (!numbers.has(place)) numbers.set(place, numbers.size);
    const last = bands[bands.length - 1];
    if (last && last.name === place && last.until === begin) last.until = end;
    else bands.push({ from: begin, until: end, name: place, isOdd: (numbers.get(place) ?? 0) % 2 === 1 });
  }
  return bands;
}

/** What stands behind a curve: whose device it was, where nothing is known, and the moment that is chosen.
 * @param {ReturnType<typeof bandsOf>} bands @param {Window} window @param {() => number | undefined} at */
const behind = (bands, window, at) => (/** @type {any} */ plot) => {
  const { ctx, bbox } = plot;
  const x = (/** @type {number} */ time) =>
    plot.valToPos(Math.min(window.until, Math.max(window.from, time)), "x", true);
  ctx.save();
  ctx.beginPath();
  ctx.rect(bbox.left, bbox.top, bbox.width, bbox.height);
  ctx.clip();
  for (const band of bands) {
    const width = x(band.until) - x(band.from);
    ctx.fillStyle = colour(band.isOdd ? "--mark-ground" : "--ground");
    ctx.fillRect(x(band.from), bbox.top, width, bbox.height);
    ctx.fillStyle = colour("--quiet");
    ctx.font = `${12 * devicePixelRatio}px system-ui, sans-serif`;
    ctx.textAlign = "left";
    if (ctx.measureText(band.name).width + 8 < width)
      ctx.fillText(band.name, x(band.from) + 4, bbox.top + 14 * devicePixelRatio);
  }
  for (const gap of window.gaps) {
    if (gap.part !== "model" || !gap.until) continue;
    ctx.fillStyle = colour("--line");
    ctx.globalAlpha = 0.35;
    ctx.fillRect(x(seconds(gap.since)), bbox.top, x(seconds(gap.until)) - x(seconds(gap.since)), bbox.height);
    ctx.globalAlpha = 1;
  }
  const moment = at();
  if (moment) {
    ctx.fillStyle = colour("--bad");
    ctx.fillRect(x(moment) - 1, bbox.top, 2 * devicePixelRatio, bbox.height);
  }
  ctx.restore();
};

/** A moment at the foot of a curve: the clock, and the day where one begins. @param {number} time */
export function footOf(time) {
  const date = new Date(time * 1000);
  const isMidnight = date.getHours() + date.getMinutes() === 0;
  return isMidnight
    ? date.toLocaleDateString([], { day: "numeric", month: "short" })
    : date.toLocaleTimeString([], { hour: "2-digit", minute: "2-digit" });
}

/** @param {Window} window @param {any[]} series @param {any} scales @param {any[]} axes
 * @param {ReturnType<typeof bandsOf>} bands */
const optionsOf = (window, series, scales, axes, bands) => (/** @type {() => number | undefined} */ at) => ({
  series: [
    {
      label: texts.time,
      value: (/** @type {any} */ _, /** @type {number | null} */ time) =>
        time === null ? "–" : new Date(time * 1000).toLocaleString(),
    },
    ...series,
  ],
  scales: { x: { range: () => [window.from, window.until] }, ...scales },
  axes: [
    { space: 70, values: (/** @type {any} */ _, /** @type {number[]} */ times) => times.map(footOf) },
    ...axes,
  ].map((axis) => ({
    stroke: colour("--quiet"),
    grid: { stroke: colour("--line"), width: 0.5 },
    ticks: { stroke: colour("--line") },
    ...axis,
  })),
  cursor: { drag: { setScale: false, x: false, y: false } },
  legend: { live: true },
  hooks: { drawClear: [behind(bands, window, at)] },
});

const isWide = () => innerWidth >= 640;
const valueOr = (/** @type {any} */ range) => (range ? range.mean : null);

/** Signal and rate of somebody. @param {any} told @param {Window} window */
export function signalSeries(told, window) {
  const points = told.curve.points;
  const step = told.curve.step || CYCLE;
  const times = points.map((/** @type {any} */ point) => seconds(point.time));
  const signals = points.map((/** @type {any} */ point) => valueOr(point.signal));
  const rates = points.map((/** @type {any} */ point) => valueOr(point.rate));
  const known = signals.filter((/** @type {any} */ value) => value !== null);
  const dbm = (/** @type {any} */ _, /** @type {number | null} */ value) => (value === null ? "–" : texts.dbm(value));
  const rate = (/** @type {any} */ _, /** @type {number | null} */ value) => (value === null ? "–" : texts.rate(value));
  return {
    isEmpty: points.length === 0,
    data: withHoles(times, [signals, rates], step),
    label: (/** @type {string} */ title) => texts.curveOf(title, known),
    options: optionsOf(
      window,
      [
        { label: texts.facts.signal, scale: "dBm", stroke: colour("--mark"), width: 2, value: dbm },
        { label: texts.facts.rate, scale: "rate", stroke: colour("--fair"), dash: [4, 3], value: rate },
      ],
      {
        dBm: {
          range: (/** @type {any} */ _, /** @type {number} */ low, /** @type {number} */ high) => [
            Math.min(-90, low),
            Math.max(-30, high),
          ],
        },
      },
      [
        { scale: "dBm", label: isWide() ? "dBm" : undefined, size: isWide() ? 60 : 40 },
        {
          scale: "rate",
          label: isWide() ? "Mbit/s" : undefined,
          side: 1,
          size: isWide() ? 70 : 44,
          grid: { show: false },
        },
      ],
      bandsOf(told.sessions, window),
    ),
  };
}

/** Devices and stations of the mesh. @param {any} told @param {Window} window */
export function countSeries(told, window) {
  const counts = told.counts;
  const times = counts.map((/** @type {any} */ item) => seconds(item.time));
  const column = (/** @type {string} */ key) => counts.map((/** @type {any} */ item) => item[key]);
  let step = 300;
  for (let i = 1; i < times.length; i++) if (i === 1 || times[i] - times[i - 1] < step) step = times[i] - times[i - 1];
  const line = (/** @type {string} */ label, /** @type {string} */ name, /** @type {number[]} */ dash = []) => ({
    label,
    stroke: colour(name),
    width: 2,
    dash,
  });
  return {
    isEmpty: counts.length === 0,
    data: withHoles(times, ["devices", "on_5ghz", "on_2_4ghz", "wired", "weak"].map(column), step),
    label: (/** @type {string} */ title) => texts.countsOf(title, counts[counts.length - 1]),
    options: optionsOf(
      window,
      [
        line(texts.lines.devices, "--text"),
        line("5 GHz", "--mark"),
        line("2.4 GHz", "--good"),
        line(texts.wiredBand, "--wired", [6, 3]),
        line(texts.lines.weak, "--bad", [2, 3]),
      ],
      {
        y: {
          range: (/** @type {any} */ _, /** @type {number} */ __, /** @type {number} */ high) => [
            0,
            Math.max(5, high + 1),
          ],
        },
      },
      [{ size: 50 }],
      [],
    ),
  };
}
