// A mesh as the page knows it, and what it can be asked. Nothing here draws.

/** @typedef {import("./types").Device} Device */
/** @typedef {import("./types").Station} Station */
/** @typedef {import("./types").Mesh} Mesh */

export const FAIR_SIGNAL = -67; // dBm, below which calls and films begin to suffer
export const WEAK_SIGNAL = -75; // below which everybody notices
export const SLOW_LINK = 100; // Mbit/s, below which a link holds all behind it back
export const OLD = 120; // seconds: six cycles of the module

/** @param {import("./types").Heading} heading @returns {Mesh} */
export const emptyMesh = (heading) => ({
  heading,
  devices: new Map(),
  stations: new Map(),
  at: new Map(),
  counts: new Map(),
});

const noCounts = () => ({ all: 0, low: 0, high: 0, wired: 0, weak: 0 });

/** @param {Mesh} mesh @param {Device} device */
export function addDevice(mesh, device) {
  mesh.devices.set(device.al_mac, device);
}

/** @param {Mesh} mesh @param {Station} station */
export function addStation(mesh, station) {
  mesh.stations.set(station.mac, station);
  const here = mesh.at.get(station.device);
  if (here) here.push(station);
  else mesh.at.set(station.device, [station]);
  let counts = mesh.counts.get(station.device);
  if (!counts) mesh.counts.set(station.device, (counts = noCounts()));
  counts.all++;
  if (station.wired) counts.wired++;
  if (station.band === "2.4 GHz") counts.low++;
  if (station.band === "5 GHz") counts.high++;
  if (isWeak(station)) counts.weak++;
}

/** @param {Mesh} mesh @param {string} mac */
export const countsOf = (mesh, mac) => mesh.counts.get(mac) ?? noCounts();

/** @param {{signal?: number}} item */
export const isWeak = (item) => item.signal !== undefined && item.signal < WEAK_SIGNAL;

/** @param {Device} device */
export const isSlow = (device) => device.parent !== undefined && device.rate !== undefined && device.rate < SLOW_LINK;

/** @param {Device} device */
export const isWeakLink = (device) => isWeak(device) || isSlow(device);

/** @param {number | undefined} signal @returns {"none" | "good" | "fair" | "bad"} */
export function toneOf(signal) {
  if (signal === undefined) return "none";
  if (signal < WEAK_SIGNAL) return "bad";
  return signal < FAIR_SIGNAL ? "fair" : "good";
}

/** @param {Mesh} mesh */
export function health(mesh) {
  const sum = {
    devices: mesh.devices.size,
    stations: mesh.stations.size,
    wired: 0,
    weak: 0,
    weakLinks: 0,
    unreachable: 0,
  };
  for (const counts of mesh.counts.values()) {
    sum.wired += counts.wired;
    sum.weak += counts.weak;
  }
  for (const device of mesh.devices.values()) {
    if (device.hops === undefined) sum.unreachable++;
    if (isWeakLink(device)) sum.weakLinks++;
  }
  return sum;
}

/** The AL MACs from a device to the gateway. @param {Mesh} mesh @param {string | undefined} mac */
export function wayOf(mesh, mac) {
  /** @type {string[]} */
  const way = [];
  const seen = new Set();
  while (mac !== undefined && mesh.devices.has(mac) && !seen.has(mac)) {
    seen.add(mac);
    way.push(mac);
    mac = mesh.devices.get(mac)?.parent;
  }
  return way;
}

// What moves a cursor, turns the direction of writing, cannot be seen or is no letter at all.
const UNSEEN = new RegExp(
  "[\\0-\\x1f\\x7f-\\x9f\\u061c\\u200b-\\u200f\\u2028-\\u202e\\u2060-\\u206f\\ufeff\\ufff9-\\ufffb\\ufffe\\uffff]",
  "gu",
);

/** A stranger's text as it can be shown. @param {string} text */
export const visible = (text) => text.replace(UNSEEN, "\ufffd");

/** @param {{name?: string, al_mac: string} | undefined} device @param {string} [mac] */
export const deviceLabel = (device, mac) => visible(device?.name || device?.al_mac || mac || "");

/** @param {Station} station */
export const stationLabel = (station) => visible(station.name || station.mac);

/** Cut in the middle of nothing: with the sign for it. @param {string} text @param {number} most */
export function cut(text, most) {
  const letters = Array.from(text.length > 4 * most ? text.slice(0, 4 * most) : text);
  return letters.length <= most ? letters.join("") : letters.slice(0, most - 1).join("") + "…";
}

/** @param {string} text */
const plain = (text) => text.trim().toLowerCase();

/** With colons, however it was typed. @param {string} wanted in lower case */
function macPart(wanted) {
  const digits = wanted.replace(/[-:. ]/g, "");
  const isBare = wanted === digits && /^[0-9a-f]{5,12}$/.test(digits);
  return isBare ? digits.replace(/..(?=.)/g, "$&:") : wanted.replaceAll("-", ":");
}

/** Whether a name, MAC or address has a text in it. @param {{name?: string, address?: string}} item
 * @param {string} mac @param {string} wanted in lower case @param {string} asMac the same with colons */
const goesBy = (item, mac, wanted, asMac) =>
  mac.includes(asMac) ||
  (item.address !== undefined && item.address.toLowerCase().includes(wanted)) ||
  (item.name !== undefined && item.name.toLowerCase().includes(wanted));

/** @param {{address?: string}} item @param {string} mac */
const aboutOf = (item, mac) => visible([mac, item.address].filter(Boolean).join(" · "));

/** Devices first, then stations. @param {Mesh} mesh @param {string} text
 * @returns {{kind: "device" | "station", mac: string, label: string, about: string}[]} */
export function search(mesh, text) {
  const wanted = plain(text);
  if (wanted === "") return [];
  const asMac = macPart(wanted);
  /** @type {ReturnType<typeof search>} */
  const found = [];
  for (const device of mesh.devices.values()) {
    if (goesBy(device, device.al_mac, wanted, asMac) || device.interfaces.some((item) => item.mac.includes(asMac)))
      found.push({
        kind: "device",
        mac: device.al_mac,
        label: deviceLabel(device),
        about: aboutOf(device, device.al_mac),
      });
  }
  for (const station of mesh.stations.values()) {
    if (goesBy(station, station.mac, wanted, asMac)) {
      const at = deviceLabel(mesh.devices.get(station.device), station.device);
      found.push({
        kind: "station",
        mac: station.mac,
        label: stationLabel(station),
        about: `${aboutOf(station, station.mac)} · ${at}`,
      });
    }
  }
  return found;
}

/** @typedef {{text?: string, band?: string, device?: string, weak?: boolean}} Filter */

/** @param {Mesh} mesh @param {Filter} filter */
export function filterStations(mesh, filter) {
  const wanted = plain(filter.text ?? "");
  const asMac = macPart(wanted);
  const all = filter.device ? (mesh.at.get(filter.device) ?? []) : [...mesh.stations.values()];
  return all.filter(
    (station) =>
      (wanted === "" || goesBy(station, station.mac, wanted, asMac)) &&
      (!filter.band || bandOf(station) === filter.band) &&
      (!filter.weak || isWeak(station)),
  );
}

/** @param {Station} station */
export const bandOf = (station) => (station.wired ? "wired" : (station.band ?? ""));

/** @typedef {"name" | "mac" | "device" | "band" | "signal" | "rate" | "address"} SortKey */

/** @param {string} address by its numbers */
const addressKey = (address) =>
  address.includes(":")
    ? address
    : address
        .split(".")
        .map((part) => part.padStart(3, "0"))
        .join(".");

/** What is unknown stands last, whatever the direction. @param {Mesh} mesh @param {Station[]} stations
 * @param {SortKey} key @param {boolean} isDown */
export function sortStations(mesh, stations, key, isDown) {
  /** @type {Record<SortKey, (station: Station) => string | number | undefined>} */
  const keys = {
    name: (station) => station.name?.toLowerCase(),
    mac: (station) => station.mac,
    device: (station) => deviceLabel(mesh.devices.get(station.device), station.device).toLowerCase(),
    band: (station) => bandOf(station) || undefined,
    signal: (station) => station.signal,
    rate: (station) => station.rate,
    address: (station) => station.address && addressKey(station.address),
  };
  const direction = isDown ? -1 : 1;
  return stations
    .map((station) => ({ station, value: keys[key](station) }))
    .sort((a, b) => {
      if (a.value === b.value) return a.station.mac < b.station.mac ? -1 : 1;
      if (a.value === undefined) return 1;
      if (b.value === undefined) return -1;
      return a.value < b.value ? -direction : direction;
    })
    .map((item) => item.station);
}

/** Pairs of devices that hear each other and are no link of the tree: [one, other, medium, signal]. @param {Mesh} mesh */
export function neighbourPairs(mesh) {
  /** @type {Map<string, {one: string, other: string, medium?: string, signal?: number}>} */
  const pairs = new Map();
  for (const device of mesh.devices.values()) {
    for (const neighbour of device.neighbours) {
      const other = mesh.devices.get(neighbour.al_mac);
      if (!other || device.parent === other.al_mac || other.parent === device.al_mac) continue;
      const [first, second] = [device.al_mac, other.al_mac].sort();
      const known = pairs.get(first + second);
      if (!known || known.signal === undefined)
        pairs.set(first + second, { one: first, other: second, medium: neighbour.medium, signal: neighbour.signal });
    }
  }
  return [...pairs.values()];
}
