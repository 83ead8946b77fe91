// All that is known of one device or station.

import { html, useEffect, useRef } from "./vendor/htm-preact.js";
import { bandOf, deviceLabel, isWeak, isWeakLink, sortStations, stationLabel, toneOf, visible, wayOf } from "./mesh.js";
import { texts } from "./texts.js";
import { linkWords } from "./tree.js";

/** @typedef {import("./types").Device} Device */
/** @typedef {import("./types").Station} Station */
/** @typedef {import("./types").Mesh} Mesh */

const MOST_ROWS = 100;

/** @param {{rows: [string, any][]}} props */
const Facts = ({ rows }) =>
  html`<dl>
    ${rows
      .filter(([, value]) => value)
      .map(
        ([name, value]) =>
          html`<div key=${name}>
            <dt>${name}</dt>
            <dd>${value}</dd>
          </div>`,
      )}
  </dl>`;

/** @param {{mesh: Mesh, mac: string}} props */
export const DeviceLink = ({ mesh, mac }) =>
  html`<a href=${`#/device/${mac}`}><bdi>${deviceLabel(mesh.devices.get(mac), mac)}</bdi></a>`;

/** @param {{signal?: number}} props */
export const Signal = ({ signal }) =>
  signal === undefined
    ? null
    : html`<span class=${toneOf(signal)}>${texts.dbm(signal)}${isWeak({ signal }) && ` ${texts.weakMark}`}</span>`;

/** @param {{device: Device}} props */
const LinkWords = ({ device }) => {
  const words = linkWords(device).filter(Boolean).join(", ") || texts.unknown;
  return html`<span class=${isWeakLink(device) ? "bad" : toneOf(device.signal)}
    >${words}${isWeakLink(device) && ` ${texts.weakMark}`}</span
  >`;
};

/** The links from a device outwards to the gateway. @param {{mesh: Mesh, way: string[], first: any}} props */
const Way = ({ mesh, way, first }) =>
  html`<h3>${texts.path}</h3>
    <ol class="way">
      ${first}
      ${way.map((mac) => {
        const device = /** @type {Device} */ (mesh.devices.get(mac));
        return html`<li key=${mac}>
          <${DeviceLink} mesh=${mesh} mac=${mac} />
          ${device.parent && html` <small>${"↑ "}<${LinkWords} device=${device} /></small>`}
        </li>`;
      })}
    </ol>`;

/** @param {{mesh: Mesh, device: Device}} props */
function DevicePart({ mesh, device }) {
  const stations = sortStations(mesh, mesh.at.get(device.al_mac) ?? [], "name", false);
  return html`<${Facts}
      rows=${[
        [texts.facts.role, [texts.role[device.role ?? ""], device.local && texts.writes].filter(Boolean).join(", ")],
        [texts.facts.alMac, html`<code>${device.al_mac}</code>`],
        [texts.facts.address, device.address && visible(device.address)],
        [texts.facts.firmware, device.firmware && html`<bdi>${visible(device.firmware)}</bdi>`],
        [texts.facts.parent, device.parent && html`<${DeviceLink} mesh=${mesh} mac=${device.parent} />`],
        [texts.facts.link, linkWords(device).some(Boolean) && html`<${LinkWords} device=${device} />`],
        [texts.facts.hops, device.hops === undefined ? texts.noWay : String(device.hops)],
      ]}
    />
    <h3>${texts.stationsHere} <small>${stations.length}</small></h3>
    ${stations.length === 0 && html`<p class="quiet">${texts.noStations}</p>`}
    <ul class="rows">
      ${stations.slice(0, MOST_ROWS).map(
        (station) =>
          html`<li key=${station.mac}>
            <a href=${`#/station/${station.mac}`}><bdi>${stationLabel(station)}</bdi></a>
            <small>${station.wired ? texts.wiredBand : bandOf(station)} <${Signal} signal=${station.signal} /></small>
          </li>`,
      )}
    </ul>
    ${stations.length > MOST_ROWS &&
    html`<p><a href=${`#/stations?device=${device.al_mac}`}>${texts.allStations(stations.length)}</a></p>`}
    <h3>${texts.interfaces}</h3>
    <ul class="rows">
      ${device.interfaces.map(
        (item) =>
          html`<li key=${item.mac}>
            <code>${item.mac}</code>
            <small>${visible([item.media_type, texts.interfaceUse[item.use]].filter(Boolean).join(", "))}</small>
          </li>`,
      )}
    </ul>
    ${device.neighbours.length > 0 &&
    html`<h3>${texts.neighbours}</h3>
      <ul class="rows">
        ${device.neighbours.map(
          (item) =>
            html`<li key=${item.al_mac}>
              <${DeviceLink} mesh=${mesh} mac=${item.al_mac} />
              <small
                >${item.medium} <${Signal} signal=${item.signal} />${item.rate !== undefined &&
                ` ${texts.rate(item.rate)}`}</small
              >
            </li>`,
        )}
      </ul>`}`;
}

/** @param {{mesh: Mesh, station: Station}} props */
function StationPart({ mesh, station }) {
  const band = station.wired ? texts.wiredBand : bandOf(station);
  const words = [
    band,
    station.signal !== undefined && texts.dbm(station.signal),
    station.rate !== undefined && texts.rate(station.rate),
  ].filter(Boolean);
  const first = html`<li key="station">
    <bdi>${stationLabel(station)}</bdi>
    <small class=${toneOf(station.signal)}>${`↑ ${words.join(", ") || texts.unknown}`}</small>
  </li>`;
  return html`<${Facts}
      rows=${[
        [
          texts.facts.mac,
          html`<code>${station.mac}</code> ${station.random_mac && html`<small>${texts.random}</small>`}`,
        ],
        [texts.facts.address, station.address && visible(station.address)],
        [texts.facts.device, html`<${DeviceLink} mesh=${mesh} mac=${station.device} />`],
        [texts.facts.interface, visible(station.interface_name ?? station.interface ?? "")],
        [texts.facts.band, band],
        [texts.facts.signal, station.signal !== undefined && html`<${Signal} signal=${station.signal} />`],
        [texts.facts.rate, station.rate !== undefined && texts.rate(station.rate)],
      ]}
    />
    <${Way} mesh=${mesh} way=${wayOf(mesh, station.device)} first=${first} />`;
}

/** @param {any} props */
export function Panel({ mesh, route, places, way, close, dismiss, state: { isSaved } }) {
  const heading = useRef(/** @type {HTMLElement | null} */ (null));
  const device = route.kind === "device" ? mesh.devices.get(route.mac) : undefined;
  const station = route.kind === "station" ? mesh.stations.get(route.mac) : undefined;
  const known = route.kind === "device" && !device && places.get(route.mac);
  const title = device
    ? deviceLabel(device)
    : station
      ? stationLabel(station)
      : visible(known?.name || route.mac || "");
  useEffect(() => heading.current?.focus({ preventScroll: true }), [route.kind, route.mac]);
  const onKeyDown = (/** @type {KeyboardEvent} */ event) => event.key === "Escape" && close();
  return html`<section class="panel" aria-label=${title} onKeyDown=${onKeyDown}>
    <button type="button" class="close" onClick=${close} aria-label=${texts.close}>×</button>
    <h2 tabindex="-1" ref=${heading}><bdi>${title}</bdi></h2>
    ${!isSaved && html`<p><a href=${`#/history?who=${route.mac}&kind=${route.kind}`}>${texts.historyHere}</a></p>`}
    ${device && html`<${DevicePart} mesh=${mesh} device=${device} />`}
    ${device && way.length > 1 && html`<${Way} mesh=${mesh} way=${way} />`}
    ${station && html`<${StationPart} mesh=${mesh} station=${station} />`}
    ${known &&
    html`<p class="bad">${known.gone ? texts.gone(new Date(known.gone).toLocaleString()) : texts.goneEarlier}</p>`}
    ${!device && !station && !known && html`<p>${route.kind === "station" ? texts.noStation : texts.noDevice}</p>`}
    ${known &&
    html`<p>
      <button type="button" onClick=${() => (dismiss(route.mac), close())}>${texts.dismiss}</button>
    </p>`}
  </section>`;
}
