// Where devices stand. A place is a column, the hops to the gateway, and a row; it is kept as long as the device keeps
// its hops, also while the device is gone, so that nothing moves that has not changed.

/** @typedef {import("./types").Known} Known */
/** @typedef {import("./types").Device} Device */

/** @param {Device} device @param {Known | undefined} known */
const columnOf = (device, known) => device.hops ?? known?.column ?? 0;

/** By first being seen, then by MAC. @param {Map<string, Known>} known */
const byNumber = (known) => (/** @type {Device} */ a, /** @type {Device} */ b) =>
  /** @type {Known} */ (known.get(a.al_mac)).number - /** @type {Known} */ (known.get(b.al_mac)).number;

/** @param {Map<string, Known>} known @param {Map<string, Device>} devices */
function numberDevices(known, devices) {
  let last = 0;
  for (const item of known.values()) last = Math.max(last, item.number);
  const fresh = [...devices.values()].filter((device) => !known.has(device.al_mac));
  fresh.sort((a, b) => (a.hops ?? Infinity) - (b.hops ?? Infinity) || (a.al_mac < b.al_mac ? -1 : 1));
  for (const device of fresh) known.set(device.al_mac, { number: ++last, column: -1, row: -1 });
}

/** Each device in the row of its first child, the others below. @param {Map<string, Known>} known
 * @param {Map<string, Device>} devices */
function placeAll(known, devices) {
  /** @type {Map<string | undefined, Device[]>} */
  const children = new Map();
  for (const device of devices.values()) {
    const parent = device.parent !== undefined && devices.has(device.parent) ? device.parent : undefined;
    children.set(parent, [...(children.get(parent) ?? []), device]);
  }
  let row = 0;
  // Those with a way first; deeper than a stack is a stack of our own.
  const roots = (children.get(undefined) ?? []).sort(
    (a, b) => Number(a.hops === undefined) - Number(b.hops === undefined) || byNumber(known)(a, b),
  );
  const open = roots.reverse().map((device) => ({ device, isFirst: false }));
  while (open.length > 0) {
    const { device, isFirst } = /** @type {{device: Device, isFirst: boolean}} */ (open.pop());
    const item = /** @type {Known} */ (known.get(device.al_mac));
    if (item.row >= 0) continue;
    item.column = columnOf(device, undefined);
    item.row = isFirst ? row - 1 : row++;
    const below = (children.get(device.al_mac) ?? []).sort(byNumber(known));
    for (let i = below.length - 1; i >= 0; i--) open.push({ device: below[i], isFirst: i === 0 });
  }
}

/** The first free row of a column, from a row on. @param {Set<string>} taken @param {number} column @param {number} row */
function freeRow(taken, column, row) {
  while (taken.has(`${column} ${row}`)) row++;
  return row;
}

/** Each at a free place near its parent; whoever has a place keeps it. @param {Map<string, Known>} known
 * @param {Map<string, Device>} devices */
function placeNew(known, devices) {
  const taken = new Set();
  /** @type {Device[]} */
  const homeless = [];
  for (const [mac, item] of known) {
    const device = devices.get(mac);
    if (device && columnOf(device, item.column < 0 ? undefined : item) !== item.column) homeless.push(device);
    else taken.add(`${item.column} ${item.row}`);
  }
  homeless.sort((a, b) => columnOf(a, undefined) - columnOf(b, undefined) || byNumber(known)(a, b));
  for (const device of homeless) {
    const item = /** @type {Known} */ (known.get(device.al_mac));
    const parent = device.parent === undefined ? undefined : known.get(device.parent);
    item.column = columnOf(device, undefined);
    item.row = freeRow(taken, item.column, Math.max(0, parent?.row ?? 0));
    taken.add(`${item.column} ${item.row}`);
  }
}

/** Places for all devices, from what is known of before, which is left as it is. @param {Map<string, Known>} before
 * @param {Map<string, Device>} devices @param {number} now in ms */
export function place(before, devices, now) {
  /** @type {Map<string, Known>} */
  const known = new Map([...before].map(([mac, item]) => [mac, { ...item }]));
  const isFirst = known.size === 0;
  numberDevices(known, devices);
  if (isFirst) placeAll(known, devices);
  placeNew(known, devices);
  for (const [mac, item] of known) {
    const device = devices.get(mac);
    if (device) {
      item.parent = device.parent;
      item.name = device.name;
      delete item.gone;
    } else item.gone ??= now;
  }
  return known;
}

// --- how large it is ---

export const WIDE = { width: 232, height: 68, columnGap: 130, rowGap: 20, margin: 12 };
export const NARROW = { height: 92, rowGap: 12, indent: 18, margin: 8 };

/** @param {Map<string, Known>} known @param {number} width of the window that it is shown in
 * @returns {{boxes: Map<string, {x: number, y: number, width: number, height: number}>, width: number, height: number,
 * isNarrow: boolean}} */
export function geometry(known, width) {
  return width < 640 ? narrow(known, width) : wide(known);
}

const EDGE = 16; // of the page, beside the picture

/** How much larger: on a very large screen small meshes grow, large ones are scrolled. @param {number} width */
export const fitting = (width) =>
  Math.min(innerWidth > 2400 ? 1.6 : 1, Math.max(0.65, (innerWidth - 2 * EDGE) / width));

/** @param {Map<string, Known>} known */
function wide(known) {
  const boxes = new Map();
  let right = 0;
  let bottom = 0;
  for (const [mac, item] of known) {
    const x = WIDE.margin + item.column * (WIDE.width + WIDE.columnGap);
    const y = WIDE.margin + item.row * (WIDE.height + WIDE.rowGap);
    boxes.set(mac, { x, y, width: WIDE.width, height: WIDE.height });
    right = Math.max(right, x + WIDE.width);
    bottom = Math.max(bottom, y + WIDE.height);
  }
  return { boxes, width: right + WIDE.margin, height: bottom + WIDE.margin, isNarrow: false };
}

/** A list for telephones: a row in it for each, further in for each hop. @param {Map<string, Known>} known
 * @param {number} width */
function narrow(known, width) {
  const boxes = new Map();
  const ordered = [...known].sort(([, a], [, b]) => a.row - b.row || a.column - b.column);
  let y = NARROW.margin;
  for (const [mac, item] of ordered) {
    const x = NARROW.margin + Math.min(item.column, 8) * NARROW.indent;
    boxes.set(mac, { x, y, width: Math.max(180, width - x - NARROW.margin), height: NARROW.height });
    y += NARROW.height + NARROW.rowGap;
  }
  return { boxes, width: Math.max(width, 1), height: y + NARROW.margin - NARROW.rowGap, isNarrow: true };
}
