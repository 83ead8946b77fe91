// Every station as a mark in its device: a canvas of the window's size, whatever the size of the mesh.

import { html, useEffect, useMemo, useRef, useState } from "./vendor/htm-preact.js";
import { fitting, geometry } from "./layout.js";
import { bandOf, cut, deviceLabel, stationLabel, toneOf } from "./mesh.js";
import { texts } from "./texts.js";

/** @typedef {import("./types").Station} Station */
/** @typedef {{x: number, y: number, width: number, height: number}} Box */

const HEAD = 24; // pixels of a box for its name
const EDGE = 8;

/** The largest marks with which all find room. @param {number} count @param {Box} box */
export function gridOf(count, box) {
  const [width, height] = [box.width - 2 * EDGE, box.height - HEAD - EDGE];
  let pitch = 14;
  const room = () => Math.floor(width / pitch) * Math.floor(height / pitch);
  while (pitch > 2 && room() < count) pitch--;
  return { pitch, perRow: Math.floor(width / pitch), shown: Math.min(count, room()) };
}

/** As large as the tree at first. @param {ReturnType<typeof geometry>} all */
function scaled({ boxes, width, height, isNarrow }) {
  const scale = isNarrow ? 1 : fitting(width);
  const larger = new Map();
  for (const [mac, box] of boxes)
    larger.set(mac, { x: box.x * scale, y: box.y * scale, width: box.width * scale, height: box.height * scale });
  return { boxes: larger, width: width * scale, height: height * scale };
}

/** The middle of a mark. @param {Box} box @param {{pitch: number, perRow: number}} grid @param {number} i */
const spot = (box, grid, i) => [
  box.x + EDGE + ((i % grid.perRow) + 0.5) * grid.pitch,
  box.y + HEAD + (Math.floor(i / grid.perRow) + 0.5) * grid.pitch,
];

/** Whose mark is there. @param {Box} box @param {number} count @param {number} x @param {number} y */
export function markAt(box, count, x, y) {
  const grid = gridOf(count, box);
  const column = Math.floor((x - box.x - EDGE) / grid.pitch);
  const row = Math.floor((y - box.y - HEAD) / grid.pitch);
  const i = row * grid.perRow + column;
  return column >= 0 && column < grid.perRow && row >= 0 && i < grid.shown ? i : -1;
}

/** Strong a disc, fair a ring, weak a triangle, by cable a square, unknown a dot. @param {CanvasRenderingContext2D} ink
 * @param {Station} station @param {number} x @param {number} y @param {number} size @param {Record<string, string>} colours */
function drawMark(ink, station, x, y, size, colours) {
  const tone = station.wired ? "wired" : toneOf(station.signal);
  const r = size / 2;
  ink.fillStyle = ink.strokeStyle = colours[tone];
  ink.beginPath();
  if (tone === "wired") ink.rect(x - r, y - r, size, size);
  else if (tone === "bad") {
    ink.moveTo(x, y - r);
    ink.lineTo(x + r, y + r);
    ink.lineTo(x - r, y + r);
  } else ink.arc(x, y, tone === "none" ? r / 2 : tone === "fair" ? r * 0.8 : r, 0, 2 * Math.PI);
  if (tone === "fair") ink.stroke();
  else ink.fill();
}

/** The colours of the page as it is now, light or dark. @param {Element} element */
function coloursOf(element) {
  const style = getComputedStyle(element);
  const colour = (/** @type {string} */ name) => style.getPropertyValue(`--${name}`).trim();
  return {
    good: colour("good"),
    fair: colour("fair"),
    bad: colour("bad"),
    wired: colour("wired"),
    none: colour("quiet"),
    text: colour("text"),
    card: colour("card"),
    line: colour("line"),
    mark: colour("mark"),
  };
}

/** What of it can be seen. @param {HTMLCanvasElement} canvas @param {any} mesh @param {Map<string, Box>} boxes
 * @param {{left: number, top: number}} from @param {string | undefined} chosen MAC of a station */
function draw(canvas, mesh, boxes, from, chosen) {
  const ink = /** @type {CanvasRenderingContext2D} */ (canvas.getContext("2d"));
  const colours = coloursOf(canvas);
  const [width, height] = [canvas.clientWidth, canvas.clientHeight];
  const sharp = devicePixelRatio;
  if (canvas.width !== width * sharp || canvas.height !== height * sharp) {
    canvas.width = width * sharp;
    canvas.height = height * sharp;
  }
  ink.setTransform(sharp, 0, 0, sharp, -from.left * sharp, -from.top * sharp);
  ink.clearRect(from.left, from.top, width, height);
  const isSeen = (/** @type {Box} */ box) =>
    box.y < from.top + height &&
    box.y + box.height > from.top &&
    box.x < from.left + width &&
    box.x + box.width > from.left;
  ink.strokeStyle = colours.line;
  ink.lineWidth = 1.5;
  ink.beginPath();
  for (const device of mesh.devices.values()) {
    const [to, parent] = [boxes.get(device.al_mac), boxes.get(device.parent)];
    if (!to || !parent) continue;
    const y = to.y + to.height / 2;
    const isBelow = to.x < parent.x + parent.width;
    const x = isBelow ? parent.x + 6 : parent.x + parent.width + 12;
    if (isBelow) ink.moveTo(x, parent.y + parent.height);
    else {
      ink.moveTo(parent.x + parent.width, parent.y + parent.height / 2);
      ink.lineTo(x, parent.y + parent.height / 2);
    }
    ink.lineTo(x, y);
    ink.lineTo(to.x, y);
  }
  ink.stroke();
  ink.font = "600 13px system-ui, sans-serif";
  for (const [mac, box] of boxes) {
    if (!isSeen(box)) continue;
    ink.fillStyle = colours.card;
    ink.strokeStyle = colours.line;
    ink.lineWidth = 1;
    ink.beginPath();
    ink.rect(box.x, box.y, box.width, box.height);
    ink.fill();
    ink.stroke();
    const device = mesh.devices.get(mac);
    ink.fillStyle = device ? colours.text : colours.none;
    const stations = mesh.at.get(mac) ?? [];
    const grid = gridOf(stations.length, box);
    const more = stations.length > grid.shown ? ` +${stations.length - grid.shown}` : "";
    ink.fillText(cut(deviceLabel(device, mac), 26 - more.length) + more, box.x + EDGE, box.y + 17);
    stations.slice(0, grid.shown).forEach((/** @type {Station} */ station, /** @type {number} */ i) => {
      const [x, y] = spot(box, grid, i);
      drawMark(ink, station, x, y, Math.max(2, grid.pitch - 3), colours);
      if (station.mac === chosen) {
        ink.strokeStyle = colours.mark;
        ink.lineWidth = 2;
        ink.strokeRect(x - grid.pitch / 2, y - grid.pitch / 2, grid.pitch, grid.pitch);
      }
    });
  }
}

const LEGEND = /** @type {[keyof typeof texts.legend, string][]} */ ([
  ["good", "●"],
  ["fair", "○"],
  ["bad", "▲"],
  ["wired", "■"],
  ["none", "·"],
]);

/** @param {any} props */
export default function Picture({ mesh, route, places }) {
  const frame = useRef(/** @type {any} */ (null));
  const canvas = useRef(/** @type {any} */ (null));
  const [room, setRoom] = useState(0);
  const [pointed, setPointed] = useState("");
  const { boxes, width, height } = useMemo(
    () => scaled(geometry(places, room || 1000)),
    [places, room < 640 ? room : 0, innerWidth],
  );
  const redraw = () => {
    const { scrollLeft, scrollTop } = frame.current;
    draw(
      canvas.current,
      mesh,
      boxes,
      { left: scrollLeft, top: scrollTop },
      route.kind === "station" ? route.mac : undefined,
    );
  };
  useEffect(() => {
    const look = () => {
      setRoom(frame.current.clientWidth);
      redraw();
    };
    look();
    const scheme = matchMedia("(prefers-color-scheme: dark)");
    const observer = new ResizeObserver(look);
    observer.observe(frame.current);
    frame.current.addEventListener("scroll", redraw, { passive: true });
    scheme.addEventListener("change", redraw);
    return () => {
      observer.disconnect();
      scheme.removeEventListener("change", redraw);
      frame.current?.removeEventListener("scroll", redraw);
    };
  }, [mesh, boxes, route]);
  const under = (/** @type {PointerEvent} */ event) => {
    const place = canvas.current.getBoundingClientRect();
    const [x, y] = [
      event.clientX - place.left + frame.current.scrollLeft,
      event.clientY - place.top + frame.current.scrollTop,
    ];
    for (const [mac, box] of boxes) {
      if (x < box.x || x > box.x + box.width || y < box.y || y > box.y + box.height) continue;
      const stations = mesh.at.get(mac) ?? [];
      return { mac, station: stations[markAt(box, stations.length, x, y)] };
    }
    return undefined;
  };
  const point = (/** @type {PointerEvent} */ event) => {
    const station = under(event)?.station;
    const words = station && [
      stationLabel(station),
      bandOf(station),
      station.signal !== undefined && texts.dbm(station.signal),
    ];
    setPointed(words ? words.filter(Boolean).join(", ") : "");
  };
  const open = (/** @type {PointerEvent} */ event) => {
    const here = under(event);
    if (here) location.hash = `#/${here.station ? `station/${here.station.mac}` : `device/${here.mac}`}?view=picture`;
  };
  return html`<p class="tools">
      ${LEGEND.map(
        ([name, mark]) => html`<span key=${name} class=${`legend ${name}`}>${mark} ${texts.legend[name]}</span>`,
      )}
      <span class="spring"></span><bdi class="quiet">${pointed || texts.pictureHint}</bdi>
    </p>
    <div class="scroll picture" ref=${frame} tabindex="0" role="img" aria-label=${texts.pictureLabel}>
      <div style=${{ width: `${width}px`, height: `${height}px` }}></div>
      <canvas ref=${canvas} onPointerMove=${point} onPointerLeave=${() => setPointed("")} onClick=${open}></canvas>
    </div>`;
}
