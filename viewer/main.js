// The page: its address, its state, and what stands around the views.

import {
  html,
  render,
  useCallback,
  useEffect,
  useLayoutEffect,
  useMemo,
  useRef,
  useState,
} from "./vendor/htm-preact.js";
import { hashOf, routeOf, VIEWS } from "./address.js";
import { place } from "./layout.js";
import { deviceLabel, health, isWeakLink, OLD, search, visible, wayOf } from "./mesh.js";
import { Panel } from "./panel.js";
import { follow, meshOf } from "./source.js";
import { texts } from "./texts.js";
import { Tree } from "./tree.js";

/** @typedef {import("./types").Mesh} Mesh */
/** @typedef {import("./types").Known} Known */
/** @typedef {import("./types").Route} Route */
/** @typedef {import("./source.js").State} State */

// --- addresses ---

function useRoute() {
  const [route, setRoute] = useState(() => routeOf(location.hash));
  useEffect(() => {
    const look = () => setRoute(routeOf(location.hash));
    addEventListener("hashchange", look);
    return () => removeEventListener("hashchange", look);
  }, []);
  return route;
}

// --- places, kept over visits ---

/** @param {Mesh} mesh */
function storageKey(mesh) {
  for (const device of mesh.devices.values()) if (device.hops === 0) return `qo1905 ${device.al_mac}`;
  return "qo1905";
}

/** @param {string} key @returns {Map<string, Known>} */
function loadPlaces(key) {
  try {
    return new Map(JSON.parse(localStorage.getItem(key) ?? "[]"));
  } catch {
    return new Map();
  }
}

/** @param {string} key @param {Map<string, Known>} places */
function savePlaces(key, places) {
  try {
    localStorage.setItem(key, JSON.stringify([...places]));
  } catch {
    // A browser that keeps nothing has the same places next time anyway, but for what came and went.
  }
}

/** @param {Mesh | null} mesh @returns {[Map<string, Known>, (mac: string) => void]} */
function usePlaces(mesh) {
  const [dismissals, setDismissals] = useState(0);
  const kept = useRef({ key: "", places: /** @type {Map<string, Known>} */ (new Map()) });
  const places = useMemo(() => {
    if (!mesh || mesh.devices.size === 0) return kept.current.places;
    const key = storageKey(mesh);
    const before = kept.current.key === key ? kept.current.places : loadPlaces(key);
    kept.current = { key, places: place(before, mesh.devices, Date.now()) };
    savePlaces(key, kept.current.places);
    return kept.current.places;
  }, [mesh, dismissals]);
  const dismiss = (/** @type {string} */ mac) => {
    kept.current.places.delete(mac);
    setDismissals(dismissals + 1);
  };
  return [places, dismiss];
}

// --- the head ---

/** @param {{mesh: Mesh, places: Map<string, Known>, isPartial: boolean}} props */
function Summary({ mesh, places, isPartial }) {
  const sum = health(mesh);
  const gone = [...places.values()].filter((known) => known.gone !== undefined).length;
  const weakLink = [...mesh.devices.values()].find(isWeakLink)?.al_mac;
  const well = gone + sum.weak + sum.weakLinks + sum.unreachable === 0;
  if (isPartial) return html`<p class="summary" role="status"><b>${texts.devices(sum.devices)}</b> · …</p>`;
  const parts = [
    html`<b>${texts.devices(sum.devices)}</b>`,
    html`<b>${texts.stations(sum.stations - sum.wired)}</b>`,
    texts.wired(sum.wired),
    gone > 0 && html`<b class="bad">${texts.goneCount(gone)}</b>`,
    sum.weakLinks > 0 && html`<a class="bad" href=${`#/device/${weakLink}`}>${texts.weakLinks(sum.weakLinks)}</a>`,
    sum.unreachable > 0 && html`<span class="bad">${texts.unreachable(sum.unreachable)}</span>`,
    sum.weak > 0 && html`<a class="bad" href="#/stations?weak=1&sort=signal">${texts.weakStations(sum.weak)}</a>`,
    well && texts.allWell,
  ].filter(Boolean);
  return html`<p class="summary" role="status">${parts.map((part, i) => [i > 0 && " · ", part])}</p>`;
}

/** A moment in the words of the place. @param {number} ms */
const localTime = (ms) => new Date(ms).toLocaleString();

/** @param {{state: State}} props */
function Age({ state }) {
  const [, setNow] = useState(0);
  useEffect(() => {
    const timer = setInterval(() => setNow(Date.now()), 1000);
    return () => clearInterval(timer);
  }, []);
  const mesh = state.mesh;
  if (!mesh || mesh.devices.size === 0) return null;
  const written = Date.parse(mesh.heading.time);
  if (state.isSaved) return html`<p class="age">${texts.saved(localTime(written))}</p>`;
  const age = (Date.now() + state.clock - written) / 1000;
  return html`<p class=${age > OLD ? "age bad" : "age"}>
    ${texts.written(age)}${age > OLD && html` <b>(${texts.old})</b>`}<span class="paper"> ${localTime(written)}</span>
  </p>`;
}

/** What is wrong with the picture, in words. @param {{state: State}} props */
function Notices({ state }) {
  const mesh = /** @type {Mesh} */ (state.mesh);
  const when = localTime(Date.parse(mesh.heading.time));
  return html`<div class="notices" role="alert">
    ${state.isGone && html`<p>${texts.serverGone(when)}</p>`}
    ${mesh.heading.missing.map(({ part, file, reason }) => {
      const problem = visible(`${file}: ${reason}`);
      return part === "model" && mesh.devices.size > 0
        ? html`<p key=${file}>${texts.modelGone(problem, when)}</p>`
        : html`<p key=${file}>${problem}; ${texts.lacks[part]}</p>`;
    })}
  </div>`;
}

const MOST_FOUND = 8;

/** @param {{mesh: Mesh, route: Route}} props */
function Search({ mesh, route }) {
  const [text, setText] = useState("");
  const [isOpen, setOpen] = useState(false);
  const found = useMemo(() => search(mesh, text), [mesh, text]);
  const target = (/** @type {{kind: "device" | "station", mac: string}} */ item) =>
    hashOf({ view: route.view === "neighbours" ? "neighbours" : "tree", ...item });
  const close = () => setOpen(false);
  const submit = (/** @type {Event} */ event) => {
    event.preventDefault();
    if (found.length > 0) location.hash = target(found[0]);
    close();
  };
  const leave = (/** @type {FocusEvent} */ event) => {
    const to = /** @type {Node | null} */ (event.relatedTarget);
    if (!(/** @type {Node} */ (event.currentTarget).contains(to))) close();
  };
  return html`<form role="search" class="search" onSubmit=${submit} onFocusOut=${leave}>
    <input
      type="search"
      aria-label=${texts.searchHelp}
      placeholder=${texts.search}
      value=${text}
      onInput=${(/** @type {any} */ event) => {
        setText(event.target.value);
        setOpen(true);
      }}
      onKeyDown=${(/** @type {KeyboardEvent} */ event) => event.key === "Escape" && close()}
    />
    ${isOpen &&
    text.trim() !== "" &&
    html`<ul class="found">
      ${found.slice(0, MOST_FOUND).map(
        (item) =>
          html`<li key=${item.mac}>
            <a href=${target(item)} onClick=${close}><bdi>${item.label}</bdi> <small>${item.about}</small></a>
          </li>`,
      )}
      ${found.length === 0 && html`<li class="quiet">${texts.nothingFound}</li>`}
      ${found.length > MOST_FOUND &&
      html`<li>
        <a href=${hashOf({ view: "stations", query: new URLSearchParams({ q: text }) })} onClick=${close}
          >${texts.moreFound(found.length - MOST_FOUND)}</a
        >
      </li>`}
    </ul>`}
  </form>`;
}

/** @param {{route: Route}} props */
function Views({ route }) {
  return html`<nav class="views">
    ${VIEWS.map(
      (view) =>
        html`<a key=${view} href=${hashOf({ view })} aria-current=${view === route.view ? "page" : undefined}
          >${texts.views[view]}</a
        >`,
    )}
  </nav>`;
}

// --- views that are loaded when they are opened ---

const LATER = {
  stations: () => import("./stations.js"),
  picture: () => import("./picture.js"),
  events: () => import("./events.js"),
  history: () => import("./history.js"),
};

/** @param {any} props */
function Later(props) {
  const [parts, setParts] = useState(/** @type {Record<string, any>} */ ({}));
  const [tries, setTries] = useState(0);
  const name = /** @type {keyof typeof LATER} */ (props.route.view);
  useEffect(() => {
    // Once the server is there again, if it is not.
    if (!parts[name] && !props.state.isGone)
      LATER[name]().then(
        (part) => setParts((all) => ({ ...all, [name]: part.default })),
        () => setTimeout(() => setTries(tries + 1), 2000),
      );
  }, [name, tries, props.state.isGone]);
  const View = parts[name];
  return View ? html`<${View} ...${props} />` : html`<p class="quiet">${texts.loading}</p>`;
}

/** @param {any} props */
function View(props) {
  if (props.route.view in LATER) return html`<${Later} ...${props} />`;
  return html`<${Tree} ...${props} withNeighbours=${props.route.view === "neighbours"} />`;
}

// --- all of it ---

/** @param {{saved: any}} props */
function App({ saved }) {
  const route = useRoute();
  const [state, setState] = useState(
    () =>
      /** @type {State} */ ({
        mesh: saved ? meshOf(saved) : null,
        events: [],
        hasGap: false,
        isGone: false,
        isPartial: false,
        isSaved: Boolean(saved),
        clock: 0,
      }),
  );
  useLayoutEffect(() => listen((change) => setState((before) => ({ ...before, ...change }))), []);
  const { mesh } = state;
  const [places, dismiss] = usePlaces(mesh);
  const at = route.kind === "station" ? mesh?.stations.get(route.mac ?? "")?.device : route.mac;
  const way = useMemo(() => (mesh && route.kind ? wayOf(mesh, at) : []), [mesh, route.kind, at]);
  const close = useCallback(() => (location.hash = hashOf({ view: route.view, query: route.query })), [route]);
  useEffect(() => {
    const name = mesh && [...mesh.devices.values()].find((device) => device.hops === 0);
    document.title = name ? `${deviceLabel(name)} – ${texts.title}` : texts.title;
  }, [mesh]);
  if (!mesh) return html`<main><p class="quiet">${state.isGone ? texts.serverGone("-") : texts.loading}</p></main>`;
  const common = { mesh, state, route, places, way };
  return html`<a class="skip" href="#content" onClick=${skip}>${texts.skip}</a>
    <header>
      <h1>${texts.title}</h1>
      <${Summary} mesh=${mesh} places=${places} isPartial=${state.isPartial} />
      <${Age} state=${state} />
      <${Search} mesh=${mesh} route=${route} />
      <${Views} route=${route} />
    </header>
    <${Notices} state=${state} />
    <main class=${route.kind ? "body with-panel" : "body"}>
      <div id="content" tabindex="-1">
        ${mesh.devices.size === 0 ? html`<p class="quiet">${texts.empty}</p>` : html`<${View} ...${common} />`}
      </div>
      ${route.kind && html`<${Panel} ...${common} close=${close} dismiss=${dismiss} />`}
    </main>`;
}

// The address of the page is about something else.
const skip = (/** @type {Event} */ event) => {
  event.preventDefault();
  document.getElementById("content")?.focus();
};

const saved = document.getElementById("snapshot");
// Asked before there is anybody to hear the answer: the first picture is sooner.
/** @type {(change: Partial<State>) => void} */
let hear = (change) => void untold.push(change);
/** @type {Partial<State>[]} */
const untold = [];
if (!saved) follow((change) => hear(change));

/** @param {(change: Partial<State>) => void} listener */
function listen(listener) {
  untold.splice(0).forEach(listener);
  hear = listener;
}

render(
  html`<${App} saved=${saved && JSON.parse(saved.textContent ?? "")} />`,
  /** @type {Element} */ (document.getElementById("app")),
);
