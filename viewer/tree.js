// The devices at their places with their links, as a picture whose parts are links.

import { Component, html, useEffect, useLayoutEffect, useMemo, useRef, useState } from "./vendor/htm-preact.js";
import { fitting, geometry } from "./layout.js";
import { countsOf, cut, deviceLabel, isSlow, isWeakLink, neighbourPairs, toneOf, visible } from "./mesh.js";
import { texts } from "./texts.js";

/** @typedef {import("./types").Device} Device */
/** @typedef {import("./types").Mesh} Mesh */
/** @typedef {import("./types").Known} Known */
/** @typedef {{x: number, y: number, width: number, height: number}} Box */

const MOST_DRAWN = 2000;
const BOLD = 7.6; // width of a letter, mostly, in what stands in a card
const THIN = 6.5;

/** @param {Device} device */
export const linkWords = (device) => [
  [device.medium, device.signal !== undefined && texts.dbm(device.signal)].filter(Boolean).join(" "),
  device.rate !== undefined ? texts.rate(device.rate) : "",
];

/** What a card says, in lines. @param {Mesh} mesh @param {Device | undefined} device @param {Known} known
 * @param {string} mac */
function cardOf(mesh, device, known, mac) {
  if (!device) {
    const when = known.gone && new Date(known.gone).toLocaleTimeString();
    return {
      name: visible(known.name || mac),
      about: when ? texts.gone(when) : texts.goneEarlier,
      counts: "",
      weak: 0,
    };
  }
  const counts = countsOf(mesh, mac);
  const parts = [
    counts.low > 0 && `2.4 GHz ${counts.low}`,
    counts.high > 0 && `5 GHz ${counts.high}`,
    counts.wired > 0 && texts.wired(counts.wired),
  ].filter(Boolean);
  const about =
    device.hops === undefined
      ? texts.noWay
      : [texts.role[device.role ?? ""], device.address].filter(Boolean).join(" · ");
  return { name: deviceLabel(device), about: visible(about), counts: parts.join(" · "), weak: counts.weak };
}

/** One device. Drawn again only when something of it is another. */
class Card extends Component {
  /** @param {any} next */
  shouldComponentUpdate(next) {
    return Object.keys(next).some((name) => next[name] !== /** @type {any} */ (this.props)[name]);
  }

  render() {
    const p = /** @type {any} */ (this.props);
    const most = Math.floor((p.width - 24) / THIN);
    const room = Math.floor((p.width - (p.weak > 0 ? 96 : 24)) / BOLD);
    const badge = 14 + 7 * texts.weak(p.weak).length;
    const top = p.link ? 42 : p.height / 2 - 12;
    return html`<a
      href=${p.href}
      id=${`d-${p.mac}`}
      class=${`card ${p.tone} ${p.marks}`}
      aria-label=${p.label}
      aria-current=${p.isSelected ? "true" : undefined}
      transform=${`translate(${p.x} ${p.y})`}
    >
      <rect width=${p.width} height=${p.height} rx="8" />
      ${p.link && html`<text x="14" y="20" class=${`link-words ${p.tone}`}>${p.link}</text>`}
      <text x="14" y=${top} class="name">${cut(p.name, room)}</text>
      <text x="14" y=${top + 18} class="about">${cut(p.about, most)}</text>
      <text x="14" y=${top + 36} class="counts">${cut(p.counts, most)}</text>
      ${p.weak > 0 &&
      html`<g class="badge" transform=${`translate(${p.width - 10 - badge} ${top - 14})`}>
        <rect width=${badge} height="18" rx="9" />
        <text x=${badge / 2} y="13" text-anchor="middle">${texts.weak(p.weak)}</text>
      </g>`}
    </a>`;
  }
}

/** The line from a parent, and what it is like. @param {{from: Box, to: Box, device: Device, isLit: boolean, isNarrow: boolean}} props */
function Link({ from, to, device, isLit, isNarrow }) {
  const kind = `link ${isWeakLink(device) ? "bad" : toneOf(device.signal)} ${device.medium === "Ethernet" ? "cable" : ""} ${isLit ? "lit" : ""}`;
  if (isNarrow) {
    const x = from.x + 6;
    return html`<path class=${kind} d=${`M${x} ${from.y + from.height}V${to.y + 20}H${to.x}`} />`;
  }
  const x = from.x + from.width;
  const y = to.y + to.height / 2;
  const [medium, rate] = linkWords(device);
  return html`<g>
    <path class=${kind} d=${`M${x} ${from.y + from.height / 2}h12V${y}H${to.x}`} />
    <text class=${`link-words ${toneOf(device.signal)}`} x=${to.x - 58} y=${y - 5} text-anchor="middle">${medium}</text>
    <text class=${`link-words ${isSlow(device) ? "bad" : ""}`} x=${to.x - 58} y=${y + 15} text-anchor="middle"
      >${rate}</text
    >
  </g>`;
}

/** Who hears whom, beside the links of the tree. @param {{pairs: ReturnType<typeof neighbourPairs>, boxes: Map<string, Box>, mac?: string}} props */
function Neighbours({ pairs, boxes, mac }) {
  return html`<g class="neighbours">
    ${pairs.map(({ one, other, medium, signal }) => {
      const a = boxes.get(one);
      const b = boxes.get(other);
      if (!a || !b) return null;
      const isOn = mac === one || mac === other;
      const [x1, y1, x2, y2] = [a.x + a.width / 2, a.y + a.height, b.x + b.width / 2, b.y + (b.y > a.y ? 0 : b.height)];
      const bend = Math.max(24, Math.abs(y2 - y1) / 3);
      return html`<g key=${one + other} class=${isOn ? "on" : ""}>
        <path
          class=${toneOf(signal)}
          d=${`M${x1} ${y1}C${x1} ${y1 + bend} ${x2} ${y2 + (b.y > a.y ? -bend : bend)} ${x2} ${y2}`}
        />
        ${isOn &&
        html`<text class="link-words" x=${(x1 + x2) / 2} y=${(y1 + y2) / 2} text-anchor="middle">
          ${[medium, signal !== undefined && texts.dbm(signal)].filter(Boolean).join(" ")}
        </text>`}
      </g>`;
    })}
  </g>`;
}

/** The width of what an element has inside. @param {{current: any}} ref */
function useWidth(ref) {
  const [width, setWidth] = useState(0);
  useLayoutEffect(() => {
    const look = () => setWidth(ref.current?.clientWidth ?? 0);
    look();
    const observer = new ResizeObserver(look);
    observer.observe(ref.current);
    return () => observer.disconnect();
  }, []);
  return width;
}

const STEPS = [0.4, 0.5, 0.65, 0.8, 1, 1.25, 1.6, 2];

const AT_ONCE = 40; // cards between two frames

/** What can be seen is drawn first, the rest in the frames after that. @param {Map<string, Known>} places
 * @param {Map<string, Box>} boxes */
function useWhatIsSeenFirst(places, boxes) {
  const [more, setMore] = useState(0);
  const isSeen = (/** @type {string} */ mac) => /** @type {Box} */ (boxes.get(mac)).y < 1.5 * innerHeight;
  const all = [...places].slice(0, MOST_DRAWN);
  const first = all.filter(([mac]) => isSeen(mac));
  const rest = all.filter(([mac]) => !isSeen(mac));
  const isAllDrawn = more >= rest.length;
  useEffect(() => {
    if (!isAllDrawn) requestAnimationFrame(() => setMore(more + AT_ONCE));
  }, [more, isAllDrawn]);
  return { drawn: first.concat(rest.slice(0, more)), isAllDrawn };
}

/** Along the links, or up and down in a column. @param {Mesh} mesh @param {Map<string, Known>} places @param {string} mac
 * @param {string} key */
function neighbourByKey(mesh, places, mac, key) {
  const here = places.get(mac);
  if (!here) return undefined;
  const ordered = [...places].sort(([, a], [, b]) => a.row - b.row);
  const inColumn = (/** @type {number} */ column) => ordered.filter(([, item]) => item.column === column);
  if (key === "ArrowLeft") return mesh.devices.get(mac)?.parent;
  if (key === "ArrowRight") return inColumn(here.column + 1).find(([, item]) => item.parent === mac)?.[0];
  const column = inColumn(here.column);
  const at = column.findIndex(([other]) => other === mac);
  if (key === "ArrowUp") return column[at - 1]?.[0];
  return key === "ArrowDown" ? column[at + 1]?.[0] : undefined;
}

/** @param {any} props */
export function Tree({ mesh, route, places, way, withNeighbours, linkTo }) {
  const frame = useRef(null);
  const svg = useRef(/** @type {any} */ (null));
  const room = useWidth(frame);
  const [zoom, setZoom] = useState(0); // 0: as it fits
  const [fit, setFit] = useState(1);
  const { boxes, width, height, isNarrow } = useMemo(
    () => geometry(places, room || 1000),
    [places, room < 640, room < 640 ? room : 0],
  );
  const onWay = new Set(way);
  const pairs = useMemo(() => (withNeighbours ? neighbourPairs(mesh) : []), [mesh, withNeighbours]);
  const { drawn, isAllDrawn } = useWhatIsSeenFirst(places, boxes);
  // Only when the window is another: a device more, or one that is opened, is no reason for all others to move.
  useLayoutEffect(() => {
    const look = () => setFit(isNarrow ? 1 : fitting(width));
    look();
    addEventListener("resize", look);
    return () => removeEventListener("resize", look);
  }, [isNarrow]);
  const scale = zoom || fit;
  const step = (/** @type {number} */ by) => {
    const at = STEPS.findIndex((value) => value >= scale - 0.01);
    setZoom(STEPS[Math.min(STEPS.length - 1, Math.max(0, (at < 0 ? STEPS.length - 1 : at) + by))]);
  };
  const at = route.kind === "station" ? mesh.stations.get(route.mac)?.device : route.mac;
  useEffect(() => {
    if (!at) return;
    const isCalm = matchMedia("(prefers-reduced-motion: reduce)").matches;
    document
      .getElementById(`d-${at}`)
      ?.scrollIntoView({ block: "nearest", inline: "nearest", behavior: isCalm ? "auto" : "smooth" });
  }, [at, route.kind, isAllDrawn]);
  const onKeyDown = (/** @type {KeyboardEvent} */ event) => {
    const from = /** @type {Element} */ (event.target).closest(".card")?.id.slice(2);
    const to = from && neighbourByKey(mesh, places, from, event.key);
    if (!to) return;
    event.preventDefault();
    document.getElementById(`d-${to}`)?.focus();
  };
  const save = (/** @type {"svg" | "png"} */ kind) => import("./save.js").then((part) => part.save(svg.current, kind));
  return html`<div class="tools">
      <button type="button" onClick=${() => step(-1)} aria-label=${texts.zoomOut}>−</button>
      <button type="button" onClick=${() => step(1)} aria-label=${texts.zoomIn}>+</button>
      <button type="button" onClick=${() => setZoom(Math.min(1.6, Math.max(0.3, room / width)))}>${texts.fit}</button>
      <span class="spring"></span>
      <button type="button" onClick=${() => save("svg")}>${texts.saveSvg}</button>
      <button type="button" onClick=${() => save("png")}>${texts.savePng}</button>
    </div>
    <div class="scroll" ref=${frame}>
      <svg
        ref=${svg}
        class=${withNeighbours ? "tree with-neighbours" : "tree"}
        role="group"
        aria-label=${withNeighbours ? texts.neighboursLabel : texts.treeLabel}
        width=${width * scale}
        height=${height * scale}
        viewBox=${`0 0 ${width} ${height}`}
        onKeyDown=${onKeyDown}
      >
        ${drawn.map(([mac]) => {
          const device = mesh.devices.get(mac);
          const from = device?.parent && boxes.get(device.parent);
          if (!device || !from) return null;
          return html`<${Link}
            key=${`l-${mac}`}
            from=${from}
            to=${boxes.get(mac)}
            device=${device}
            isNarrow=${isNarrow}
            isLit=${onWay.has(mac) && onWay.has(device.parent)}
          />`;
        })}
        ${withNeighbours && html`<${Neighbours} pairs=${pairs} boxes=${boxes} mac=${at} />`}
        ${drawn.map(([mac, known]) => {
          const device = mesh.devices.get(mac);
          const card = cardOf(mesh, device, known, mac);
          const link = device && isNarrow ? linkWords(device).filter(Boolean).join(" · ") : "";
          const words = device ? linkWords(device).filter(Boolean).join(", ") : "";
          const tone = device ? (isWeakLink(device) ? "bad" : toneOf(device.signal)) : "none";
          const marks = [
            !device && "gone",
            device?.hops === 0 && "root",
            onWay.has(mac) && "lit",
            at === mac && "selected",
          ].filter(Boolean);
          return html`<${Card}
            key=${mac}
            mac=${mac}
            ...${boxes.get(mac)}
            ...${card}
            tone=${tone}
            link=${link}
            label=${[card.name, card.about, words, card.counts, card.weak > 0 && texts.weak(card.weak)]
              .filter(Boolean)
              .join(", ")}
            marks=${marks.join(" ")}
            isSelected=${at === mac}
            href=${linkTo ? linkTo(mac) : `#/device/${mac}${withNeighbours ? "?view=neighbours" : ""}`}
          />`;
        })}
      </svg>
    </div>
    ${withNeighbours && pairs.length === 0 && html`<p class="quiet">${texts.noNeighbours}</p>`}
    ${places.size > MOST_DRAWN && html`<p class="quiet">${texts.tooMany(places.size - MOST_DRAWN)}</p>`}`;
}
