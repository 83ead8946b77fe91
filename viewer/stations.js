// All stations as a table. However many there are, only the rows that can be seen are in the page.

import { html, useLayoutEffect, useMemo, useRef, useState } from "./vendor/htm-preact.js";
import { hashOf } from "./address.js";
import { bandOf, deviceLabel, filterStations, sortStations, stationLabel, visible } from "./mesh.js";
import { DeviceLink, Signal } from "./panel.js";
import { texts } from "./texts.js";

/** @typedef {import("./types").Station} Station */
/** @typedef {import("./mesh.js").SortKey} SortKey */

const ROW = 36; // pixels
const MARGIN = 8; // rows above and below

/** @type {[SortKey, string][]} */
const COLUMNS = [
  ["name", texts.facts.name],
  ["mac", texts.facts.mac],
  ["device", texts.facts.device],
  ["band", texts.facts.band],
  ["signal", texts.facts.signal],
  ["rate", texts.facts.rate],
  ["address", texts.facts.address],
];

/** The part of the address that says which stations. @param {URLSearchParams} query @param {string} key
 * @param {string} value */
function choose(query, key, value) {
  const next = new URLSearchParams(query);
  if (value) next.set(key, value);
  else next.delete(key);
  history.replaceState(null, "", hashOf({ view: "stations", query: next }));
  dispatchEvent(new HashChangeEvent("hashchange"));
}

/** @param {any} props */
function Filters({ mesh, query }) {
  const set = (/** @type {string} */ key) => (/** @type {any} */ event) => choose(query, key, event.target.value);
  const devices = [...mesh.devices.values()];
  return html`<div class="tools">
    <input
      type="search"
      value=${query.get("q") ?? ""}
      onInput=${set("q")}
      placeholder=${texts.filter}
      aria-label=${texts.filter}
    />
    <select onChange=${set("band")} aria-label=${texts.facts.band} value=${query.get("band") ?? ""}>
      <option value="">${texts.allBands}</option>
      <option value="2.4 GHz">2.4 GHz</option>
      <option value="5 GHz">5 GHz</option>
      <option value="wired">${texts.wiredBand}</option>
    </select>
    <select onChange=${set("device")} aria-label=${texts.facts.device} value=${query.get("device") ?? ""}>
      <option value="">${texts.allDevices}</option>
      ${devices.map(
        (device) => html`<option key=${device.al_mac} value=${device.al_mac}>${deviceLabel(device)}</option>`,
      )}
    </select>
    <label>
      <input
        type="checkbox"
        checked=${query.has("weak")}
        onChange=${(/** @type {any} */ event) => choose(query, "weak", event.target.checked ? "1" : "")}
      />
      ${texts.onlyWeak}
    </label>
  </div>`;
}

/** @param {{query: URLSearchParams, sort: SortKey, isDown: boolean}} props */
const Head = ({ query, sort, isDown }) =>
  html`<thead>
    <tr aria-rowindex="1">
      ${COLUMNS.map(
        ([key, name]) =>
          html`<th
            key=${key}
            class=${key}
            scope="col"
            aria-sort=${key === sort ? (isDown ? "descending" : "ascending") : undefined}
          >
            <button
              type="button"
              title=${texts.sortBy(name)}
              onClick=${() => choose(query, "sort", key === sort && !isDown ? `-${key}` : key)}
            >
              ${name}<span aria-hidden="true">${key === sort ? (isDown ? " ↓" : " ↑") : ""}</span>
            </button>
          </th>`,
      )}
    </tr>
  </thead>`;

/** @param {any} props */
const Row = ({ mesh, station, query, index, isSelected }) =>
  html`<tr aria-rowindex=${index + 2} class=${isSelected ? "selected" : ""}>
    <td class="name">
      <a href=${hashOf({ view: "stations", kind: "station", mac: station.mac, query })}
        ><bdi>${stationLabel(station)}</bdi></a
      >
    </td>
    <td class="mac"><code>${station.mac}</code>${station.random_mac && html` <small>${texts.random}</small>`}</td>
    <td class="device"><${DeviceLink} mesh=${mesh} mac=${station.device} /></td>
    <td class="band">${station.wired ? texts.wiredBand : bandOf(station)}</td>
    <td class="signal"><${Signal} signal=${station.signal} /></td>
    <td class="rate">${station.rate !== undefined && texts.rate(station.rate)}</td>
    <td class="address">${station.address && visible(station.address)}</td>
  </tr>`;

/** The rows that can be seen, with some around them. @param {{current: any}} frame @param {number} count */
function useWindow(frame, count) {
  const [seen, setSeen] = useState({ first: 0, last: 40 });
  useLayoutEffect(() => {
    const look = () => {
      const first = Math.max(0, Math.floor(frame.current.scrollTop / ROW) - MARGIN);
      const last = Math.ceil((frame.current.scrollTop + frame.current.clientHeight) / ROW) + MARGIN;
      setSeen((before) => (before.first === first && before.last === last ? before : { first, last }));
    };
    look();
    const observer = new ResizeObserver(look);
    observer.observe(frame.current);
    frame.current.addEventListener("scroll", look, { passive: true });
    const showAll = () => setSeen({ first: 0, last: Infinity }); // paper has no window
    addEventListener("beforeprint", showAll);
    addEventListener("afterprint", look);
    return () => {
      observer.disconnect();
      removeEventListener("beforeprint", showAll);
      removeEventListener("afterprint", look);
    };
  }, []);
  const first = Math.min(seen.first, Math.max(0, count - 1));
  return { first, last: Math.min(seen.last, count) };
}

/** @param {any} props */
export default function Stations({ mesh, route }) {
  const { query } = route;
  const frame = useRef(null);
  const words = query.get("sort") ?? "name";
  const isDown = words.startsWith("-");
  const named = /** @type {SortKey} */ (words.replace("-", ""));
  const sort = COLUMNS.some(([key]) => key === named) ? named : "name";
  const filter = {
    text: query.get("q") ?? "",
    band: query.get("band") ?? "",
    device: query.get("device") ?? "",
    weak: query.has("weak"),
  };
  const rows = useMemo(
    () => sortStations(mesh, filterStations(mesh, filter), sort, isDown),
    [mesh, filter.text, filter.band, filter.device, filter.weak, sort, isDown],
  );
  const { first, last } = useWindow(frame, rows.length);
  return html`<${Filters} mesh=${mesh} query=${query} />
    <p class="quiet" role="status">${texts.shown(rows.length, mesh.stations.size)}</p>
    <div class="scroll table" ref=${frame} tabindex="0" role="region" aria-label=${texts.views.stations}>
      <table aria-rowcount=${rows.length + 1}>
        <${Head} query=${query} sort=${sort} isDown=${isDown} />
        <tbody>
          ${first > 0 && html`<tr key="above" aria-hidden="true" style=${{ height: `${first * ROW}px` }}></tr>`}
          ${rows
            .slice(first, last)
            .map(
              (station, i) =>
                html`<${Row}
                  key=${station.mac}
                  query=${query}
                  mesh=${mesh}
                  station=${station}
                  index=${first + i}
                  isSelected=${station.mac === route.mac}
                />`,
            )}
          ${last < rows.length &&
          html`<tr key="below" aria-hidden="true" style=${{ height: `${(rows.length - last) * ROW}px` }}></tr>`}
        </tbody>
      </table>
    </div>`;
}
