// What has happened, the newest first.

import { html, useState } from "./vendor/htm-preact.js";
import { deviceLabel, visible } from "./mesh.js";
import { texts } from "./texts.js";

/** @typedef {import("./types").MeshEvent} MeshEvent */
/** @typedef {import("./types").Whereabouts} Whereabouts */

const MOST_SHOWN = 500;

/** @param {any} props */
export default function Events({ mesh, state }) {
  const device = (/** @type {string | undefined} */ mac) => deviceLabel(mesh.devices.get(mac), mac);
  const place = (/** @type {Whereabouts | undefined} */ where) => {
    const link = where?.wired ? texts.wiredBand : where?.band;
    const words = [device(where?.device), link, where?.signal !== undefined && texts.dbm(where.signal)];
    return words.filter(Boolean).join(", ");
  };
  const [kind, setKind] = useState("");
  const chosen = state.events.filter((/** @type {any} */ event) => kind === "" || event[kind]);
  if (state.events.length === 0)
    return html`<p class="quiet">${state.isSaved ? texts.eventsSaved : texts.eventsEmpty}</p>`;
  return html`<div class="tools">
      <select
        aria-label=${texts.views.events}
        value=${kind}
        onChange=${(/** @type {any} */ event) => setKind(event.target.value)}
      >
        <option value="">${texts.allEvents}</option>
        <option value="device">${texts.deviceEvents}</option>
        <option value="station">${texts.stationEvents}</option>
      </select>
    </div>
    <ol class="events" role="log" aria-label=${texts.views.events}>
      ${chosen.slice(0, MOST_SHOWN).map((/** @type {MeshEvent} */ event) => {
        const target = event.station ? `#/station/${event.station}` : `#/device/${event.device}`;
        const told = texts.event[event.event]?.(event, place, device) ?? event.event;
        return html`<li key=${event.number} class=${event.device ? "of-device" : ""}>
          <time datetime=${event.time}>${new Date(event.time).toLocaleTimeString()}</time>
          <a href=${`${target}?view=events`}
            ><bdi>${visible(event.name || event.station || event.device || "")}</bdi></a
          >
          <bdi>${visible(told)}</bdi>
        </li>`;
      })}
    </ol>
    ${(state.hasGap || chosen.length > MOST_SHOWN) && html`<p class="quiet">${texts.eventsGap}</p>`}`;
}
