// What was: curves of a device's link, a station or the whole mesh, and the mesh as it was at any time of them. All that
// is chosen stands in the address: whose curve (who, kind), how long (range), until when (until), and the moment (at).

import { html, useEffect, useLayoutEffect, useMemo, useRef, useState } from "./vendor/htm-preact.js";
import { hashOf } from "./address.js";
import { countSeries, signalSeries } from "./curves.js";
import { place } from "./layout.js";
import { bandOf, sortStations, stationLabel, toneOf, visible } from "./mesh.js";
import { meshOf } from "./source.js";
import { texts } from "./texts.js";
import { Tree } from "./tree.js";

/** @typedef {import("./types").Mesh} Mesh */

const HOUR = 3600;
const RANGES = [6 * HOUR, 24 * HOUR, 7 * 24 * HOUR, 30 * 24 * HOUR, 90 * 24 * HOUR];
const MOST_ROWS = 200;

const seconds = (/** @type {string} */ time) => Date.parse(time) / 1000;
const local = (/** @type {number} */ time) => new Date(time * 1000).toLocaleString();

// --- asking ---

/** An answer of the server; {error} when there is none. @param {string} path @returns {Promise<any>} */
async function ask(path) {
  try {
    const response = await fetch(`api/v1/history${path}`, { cache: "no-cache" });
    const answer = await response.json();
    return response.ok ? answer : { error: answer.error ?? String(response.status) };
  } catch {
    return { error: texts.historyGone };
  }
}

/** The answer to a question, and nothing while it is asked. The last question counts. @param {string | null} path
 * @returns {any} */
function useAnswer(path) {
  const [answer, setAnswer] = useState(/** @type {any} */ (null));
  useEffect(() => {
    let isLast = true;
    if (path !== null) ask(path).then((told) => isLast && setAnswer({ ...told, path }));
    return () => {
      isLast = false;
    };
  }, [path]);
  return answer;
}

// --- the curve ---

const style = () =>
  new Promise((resolve, reject) => {
    const link = Object.assign(document.createElement("link"), { rel: "stylesheet", href: "vendor/uplot.css" });
    link.onload = resolve;
    link.onerror = reject;
    document.head.append(link);
  });

/** Loaded once, when somebody wants a curve. @type {Promise<any> | undefined} */
let chart;
function loadChart() {
  chart ??= Promise.all([import("./vendor/uplot.js"), style()]).then(([part]) => part.default);
  chart.catch(() => (chart = undefined)); // the next one tries again
  return chart;
}

/** @param {{series: any, label: string, onPick: (time: number) => void, at?: number}} props */
function Curve({ series, label, onPick, at }) {
  const frame = useRef(/** @type {any} */ (null));
  const plot = useRef(/** @type {any} */ (null));
  const moment = useRef(at);
  moment.current = at;
  const pick = useRef(onPick);
  pick.current = onPick;
  useLayoutEffect(() => {
    let isOver = false;
    /** @type {ResizeObserver | undefined} */
    let observer;
    loadChart()?.then(
      (UPlot) => {
        if (isOver) return;
        const width = () => Math.max(240, frame.current.clientWidth);
        plot.current = new UPlot(
          { ...series.options(() => moment.current), width: width(), height: 260 },
          series.data,
          frame.current,
        );
        plot.current.over.addEventListener("click", () => {
          const left = plot.current.cursor.left;
          if (left >= 0) pick.current(Math.round(plot.current.posToVal(left, "x")));
        });
        observer = new ResizeObserver(() => plot.current.setSize({ width: width(), height: 260 }));
        observer.observe(frame.current);
      },
      () => frame.current?.append(texts.historyGone),
    );
    return () => {
      isOver = true;
      observer?.disconnect();
      plot.current?.destroy();
      plot.current = null;
    };
  }, [series]);
  useEffect(() => plot.current?.redraw(false), [at]);
  return html`<div class="curve" ref=${frame} role="img" aria-label=${label}></div>`;
}

// --- lists that say the same ---

/** @param {{columns: string[], rows: any[][], label: string}} props */
const Rows = ({ columns, rows, label }) =>
  html`<div class="scroll table" tabindex="0" role="region" aria-label=${label}>
    <table>
      <caption>
        ${label}
      </caption>
      <thead>
        <tr>
          ${columns.map((column) => html`<th key=${column} scope="col">${column}</th>`)}
        </tr>
      </thead>
      <tbody>
        ${rows.slice(0, MOST_ROWS).map(
          (row, i) =>
            html`<tr key=${i}>
              ${row.map((cell) => html`<td>${cell}</td>`)}
            </tr>`,
        )}
      </tbody>
    </table>
  </div>`;

/** @param {any} spot */
const spotWords = (spot) =>
  html`<bdi>${visible([spot.name ?? spot.device, spot.medium].filter(Boolean).join(", "))}</bdi>`;

/** @param {number | undefined} signal */
const signalWords = (signal) => signal !== undefined && html`<span class=${toneOf(signal)}>${texts.dbm(signal)}</span>`;

/** @param {{told: any}} props */
const Sessions = ({ told }) =>
  html`<${Rows}
    label=${texts.sessions(told.sessions.length)}
    columns=${texts.sessionColumns}
    rows=${[...told.sessions]
      .reverse()
      .map((/** @type {any} */ item) => [
        local(seconds(item.since)),
        item.until ? texts.span(seconds(item.until) - seconds(item.since)) : texts.stillThere,
        spotWords(item.at),
        texts.came[item.came],
        signalWords(item.first_signal),
        signalWords(item.last_signal),
      ])}
  />`;

/** @param {{who: any, to: (query: Record<string, any>) => string}} props */
const WhoLink = ({ who, to }) =>
  html`<a href=${to({ who: who.mac, kind: who.kind })}><bdi>${visible(who.name ?? who.mac)}</bdi></a>`;

/** @param {{span: string, to: (query: Record<string, any>) => string}} props */
function Whole({ span, to }) {
  const roamers = useAnswer(`/roamers?${span}`);
  const sticky = useAnswer(`/sticky?${span}`);
  const gaps = useAnswer(`/gaps?${span}`);
  return html`<div class="lists">
    ${roamers?.roamers?.length > 0 &&
    html`<${Rows}
      label=${texts.roamers}
      columns=${texts.roamerColumns}
      rows=${roamers.roamers.map((/** @type {any} */ item) => [
        html`<${WhoLink} who=${item.station} to=${to} />`,
        item.roams,
        item.bounces,
      ])}
    />`}
    ${sticky?.sticky?.length > 0 &&
    html`<${Rows}
      label=${texts.sticky}
      columns=${texts.stickyColumns}
      rows=${sticky.sticky.map((/** @type {any} */ item) => [
        html`<${WhoLink} who=${item.station} to=${to} />`,
        spotWords(item.at),
        texts.span(item.seconds),
        signalWords(Math.round(item.signal)),
        item.best && html`<${WhoLink} who=${item.best} to=${to} />`,
      ])}
    />`}
    ${gaps?.gaps?.length > 0 &&
    html`<${Rows}
      label=${texts.gaps}
      columns=${texts.gapColumns}
      rows=${gaps.gaps.map((/** @type {any} */ item) => [
        local(seconds(item.since)),
        item.until ? texts.span(seconds(item.until) - seconds(item.since)) : texts.stillThere,
        html`<bdi>${visible(item.cause)}</bdi>`,
      ])}
    />`}
  </div>`;
}

// --- the mesh as it was ---

/** @param {any} props */
function Then({ told, at, to, who, places }) {
  const mesh = useMemo(() => (told.devices ? meshOf(told) : null), [told]);
  // Places are those of now, and nothing of the past is kept.
  const then = useMemo(() => mesh && place(new Map(structuredClone([...places])), mesh.devices, 0), [mesh, places]);
  const banner = html`<p class="past" role="status">
    <b>${texts.past}</b> ${local(at)} <a href=${to({ at: undefined })}>${texts.toNow}</a>
  </p>`;
  if (!mesh)
    return html`${banner}
      <p class="quiet">${visible(told.error)}</p>`;
  const stations = sortStations(mesh, mesh.at.get(who) ?? [], "name", false);
  const linkTo = (/** @type {string} */ mac) => to({ who: mac, kind: "device" });
  return html`<section class="then" aria-label=${texts.past}>
    ${banner}
    <${Tree} mesh=${mesh} route=${{ kind: "device", mac: who }} places=${then} way=${[]} linkTo=${linkTo} />
    ${stations.length > 0 &&
    html`<${Rows}
      label=${texts.stationsThen}
      columns=${[texts.facts.name, texts.facts.band, texts.facts.signal, texts.facts.rate]}
      rows=${stations.map((station) => [
        html`<a href=${to({ who: station.mac, kind: "station" })}><bdi>${stationLabel(station)}</bdi></a>`,
        station.wired ? texts.wiredBand : bandOf(station),
        signalWords(station.signal),
        station.rate !== undefined && texts.rate(station.rate),
      ])}
    />`}
  </section>`;
}

/** When there is something to choose, a little later than the hand that chooses. @param {number | undefined} value */
function useSettled(value) {
  const [settled, setSettled] = useState(value);
  useEffect(() => {
    const timer = setTimeout(() => setSettled(value), 120);
    return () => clearTimeout(timer);
  }, [value]);
  return settled;
}

// --- all of it ---

/** @param {any} props */
export default function History({ mesh, route, state, places }) {
  const number = (/** @type {string} */ key) => Number(route.query.get(key)) || undefined;
  const recorded = useAnswer(state.isSaved ? null : "");
  const range = number("range") ?? RANGES[1];
  const who = route.query.get("who");
  const kind = route.query.get("kind") === "device" ? "device" : "station";
  const at = number("at");
  const last = recorded?.last && seconds(recorded.last) + 1;
  const until = Math.min(number("until") ?? last, last);
  const from = until - range;
  const span = `from=${from}&until=${until}`;
  const isKnown = Number.isFinite(until);
  const told = useAnswer(
    isKnown ? (who ? `/who?mac=${encodeURIComponent(who)}&kind=${kind}&${span}` : `/counts?${span}`) : null,
  );
  const gaps = useAnswer(isKnown ? `/gaps?${span}` : null);
  const settled = useSettled(at);
  const then = useAnswer(settled ? `/mesh?at=${settled}` : null);
  const series = useMemo(() => {
    if (!told || told.error || !gaps) return null;
    const window = { from, until, gaps: gaps.gaps ?? [] };
    return told.curve ? signalSeries(told, window) : countSeries(told, window);
  }, [told, gaps]);
  /** @param {Record<string, any>} changes */
  const to = (changes) => {
    const query = new URLSearchParams(route.query);
    for (const [key, value] of Object.entries(changes)) {
      if (value === undefined) query.delete(key);
      else query.set(key, String(value));
    }
    return hashOf({ view: "history", query });
  };
  const go = (/** @type {Record<string, any>} */ changes) => location.replace(to(changes));
  if (state.isSaved) return html`<p class="quiet">${texts.historySaved}</p>`;
  if (!recorded) return html`<p class="quiet">${texts.loading}</p>`;
  if (recorded.error)
    return html`<p class="quiet">${visible(recorded.error)}</p>
      <p class="quiet">${texts.historyHow}</p>`;
  const device = kind === "device" ? mesh.devices.get(who) : undefined;
  const title = who ? visible(told?.who?.name ?? device?.name ?? who) : texts.wholeMesh;
  return html`<div class="history">
    <div class="tools">
      <h2><bdi>${title}</bdi></h2>
      ${who && html`<a href=${to({ who: undefined, kind: undefined })}>${texts.wholeMesh}</a>`}
      <span class="spring"></span>
      <button type="button" onClick=${() => go({ until: until - range / 2 })} aria-label=${texts.earlier}>‹</button>
      <select
        aria-label=${texts.howLong}
        value=${range}
        onChange=${(/** @type {any} */ event) => go({ range: event.target.value })}
      >
        ${RANGES.map((value) => html`<option key=${value} value=${value}>${texts.span(value)}</option>`)}
      </select>
      <button
        type="button"
        disabled=${until >= last}
        onClick=${() => go({ until: until + range / 2 >= last ? undefined : until + range / 2 })}
        aria-label=${texts.later}
      >
        ›
      </button>
    </div>
    ${told?.error && html`<p class="quiet">${visible(told.error)}</p>`}
    ${series?.isEmpty && html`<p class="quiet">${texts.nothingThen}</p>`}
    ${series &&
    !series.isEmpty &&
    html`<${Curve}
      series=${series}
      label=${series.label(title)}
      at=${at}
      onPick=${(/** @type {number} */ time) => go({ at: time })}
    />`}
    <label class="slider">
      <span>${at ? local(at) : texts.slide}</span>
      <input
        type="range"
        min=${from}
        max=${until}
        step=${Math.max(20, Math.round(range / 1000))}
        value=${at ?? until}
        aria-valuetext=${local(at ?? until)}
        onInput=${(/** @type {any} */ event) => go({ at: event.target.value })}
      />
    </label>
    ${at &&
    then &&
    html`<${Then} told=${then} at=${at} to=${to} who=${kind === "device" ? who : undefined} places=${places} />`}
    ${told?.sessions && html`<${Sessions} told=${told} />`} ${!who && html`<${Whole} span=${span} to=${to} />`}
  </div>`;
}
