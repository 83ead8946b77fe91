// Where the page's data comes from: the server, asked again whenever it has something new, or a moment that is part of
// the page. Thousands of stations are read in slices, so that nothing on the screen ever stands still.

import { addDevice, addStation, emptyMesh } from "./mesh.js";

/** @typedef {import("./types").Mesh} Mesh */
/** @typedef {import("./types").MeshEvent} MeshEvent */

/** @typedef {object} State
 * @property {Mesh | null} mesh
 * @property {MeshEvent[]} events the newest first
 * @property {boolean} hasGap whether older events were not kept
 * @property {boolean} isGone whether the server does not answer
 * @property {boolean} isPartial whether stations are still to come
 * @property {boolean} isSaved whether this is a page with one moment in it
 * @property {number} clock how much later it is there than here, in ms */

const SLICE = 8; // ms of work before the screen gets its turn
const MOST_EVENTS = 10000; // as many as the server keeps
const RETRY = 2000; // ms

const pause = () => new Promise((resolve) => setTimeout(resolve, 0));
const wait = (/** @type {number} */ ms) => new Promise((resolve) => setTimeout(resolve, ms));

/** Lines of a text that comes in pieces. @param {ReadableStream<Uint8Array<ArrayBuffer>>} body */
async function* linesOf(body) {
  const reader = body.pipeThrough(new TextDecoderStream()).getReader();
  let rest = "";
  for (;;) {
    const { done, value } = await reader.read();
    if (done) break;
    const lines = (rest + value).split("\n");
    rest = lines.pop() ?? "";
    yield lines;
  }
  if (rest !== "") throw new Error("cut");
}

/** @param {ReadableStream<Uint8Array<ArrayBuffer>>} body @param {(mesh: Mesh) => void} showDevices is called before the
 * first station @returns {Promise<Mesh>} */
async function readMesh(body, showDevices) {
  /** @type {Mesh | undefined} */
  let mesh;
  let until = performance.now() + SLICE;
  for await (const lines of linesOf(body)) {
    for (const line of lines) {
      const item = JSON.parse(line);
      if (!mesh) mesh = emptyMesh(item);
      else if (item.device) addDevice(mesh, item.device);
      else if (item.station) {
        if (mesh.stations.size === 0) showDevices({ ...mesh });
        addStation(mesh, item.station);
      }
      if (performance.now() > until) {
        await pause();
        until = performance.now() + SLICE;
      }
    }
  }
  if (!mesh) throw new Error("empty");
  return mesh;
}

/** @param {Response} response */
function expectWell(response) {
  if (!response.ok) throw new Error(String(response.status));
  return response;
}

/** @param {Response} response */
const clockOf = (response) => {
  const there = Date.parse(response.headers.get("Date") ?? "");
  return Number.isNaN(there) ? 0 : there + 500 - Date.now();
};

/** A saved page has its moment as a snapshot. @param {any} snapshot @returns {Mesh} */
export function meshOf(snapshot) {
  const mesh = emptyMesh(snapshot);
  for (const device of snapshot.devices) addDevice(mesh, device);
  for (const station of snapshot.stations) addStation(mesh, station);
  return mesh;
}

/** What the server has told so far. @typedef {{version: string, last: number, hasGap: boolean, isLost: boolean, events: MeshEvent[]}} Told */

const LONGEST = 40000; // ms; an answer that waits for news comes within 25 s

/** An answer, or an error when none comes, or when nobody looks: a browser has few connections, and other pages want
 * them. @param {string} path @param {Record<string, string>} [headers] */
async function ask(path, headers) {
  const end = new AbortController();
  const leave = () => document.hidden && end.abort();
  setTimeout(() => end.abort(), LONGEST); // which also takes the listener away
  document.addEventListener("visibilitychange", leave, { signal: end.signal });
  return expectWell(await fetch(`api/v1/${path}`, { cache: "no-cache", signal: end.signal, headers }));
}

/** Until somebody looks. */
const isSeen = () =>
  document.hidden && new Promise((resolve) => document.addEventListener("visibilitychange", resolve, { once: true }));

/** @param {string} query */
const askNews = async (query) => (await ask(`events?${query}`)).json();

/** @param {Told} told @param {any} news */
function takeNews(told, news) {
  told.events = [...news.events.reverse(), ...told.events].slice(0, MOST_EVENTS);
  told.last = news.last;
  told.hasGap ||= news.gap;
}

/** The mesh as it is now; its tag begins with the version. @param {Told} told
 * @param {(change: Partial<State>) => void} tell */
async function takeMesh(told, tell) {
  const response = await ask("mesh", { Accept: "application/x-ndjson" });
  const clock = clockOf(response);
  const body = /** @type {ReadableStream<Uint8Array<ArrayBuffer>>} */ (response.body);
  // Who has no picture yet sees the devices while the stations come.
  const mesh = await readMesh(body, (part) => told.version === "" && tell({ mesh: part, isPartial: true, clock }));
  told.version = response.headers.get("ETag")?.match(/\d+-\d+/)?.[0] ?? "unknown";
  tell({ mesh, isPartial: false, clock });
}

/** @param {Told} told @param {(change: Partial<State>) => void} tell */
async function begin(told, tell) {
  const [news] = await Promise.all([askNews("wait=0"), takeMesh(told, tell)]);
  takeNews(told, news);
  tell({ events: told.events, hasGap: told.hasGap, isGone: false });
}

/** Until there is something new. @param {Told} told @param {(change: Partial<State>) => void} tell */
async function goOn(told, tell) {
  const start = Date.now();
  // Who has lost the server wants to know that it is there, not what is new.
  const news = await askNews(`after=${told.last}&version=${told.version}${told.isLost ? "&wait=0" : ""}`);
  const isNews = news.version !== told.version || news.events.length > 0;
  if (!isNews && !told.isLost && Date.now() - start < RETRY) await wait(RETRY); // too many wait already
  const isAnotherServer = news.version.split("-")[0] !== told.version.split("-")[0];
  if (isAnotherServer) {
    // Its numbers begin anew.
    told.events = [];
    told.last = 0;
    told.hasGap = false;
    await begin(told, tell);
    return;
  }
  takeNews(told, news);
  if (news.version !== told.version) await takeMesh(told, tell);
  tell({ events: told.events, hasGap: told.hasGap, isGone: false });
}

/** Follows the server for ever and tells every new state. @param {(change: Partial<State>) => void} tell */
export async function follow(tell) {
  /** @type {Told} */
  const told = { version: "", last: 0, hasGap: false, isLost: false, events: [] };
  for (;;) {
    try {
      await isSeen();
      await (told.version === "" ? begin : goOn)(told, tell);
      told.isLost = false;
    } catch {
      if (document.hidden) continue;
      told.isLost = true;
      tell({ isGone: true });
      await wait(RETRY);
    }
  }
}
