// What the page is tested against: the server itself on a gateway's files, and one before it that tells of meshes that
// a test makes up, with all headers and files of the real one.
import { spawn } from "node:child_process";
import { once } from "node:events";
import http from "node:http";
import { createRequire } from "node:module";
import { env } from "node:process";

export const BUILD = env.QO1905_BUILD ?? new URL("../../build", import.meta.url).pathname;
export const TOOLS = env.QO1905_TOOLS ?? new URL("../../build/viewer-tools", import.meta.url).pathname;
export const PROJECT = new URL("../..", import.meta.url).pathname;

const require = createRequire(`${TOOLS}/`);
export const { chromium } = require("playwright-core");
export const axe = require.resolve("axe-core/axe.min.js");

/** qo1905 serve, until it has told its address. */
export async function serve(folder, port = 0, ...more) {
  const words = ["serve", folder, "--port", String(port), "--page", `${BUILD}/viewer`, ...more];
  const program = spawn(`${BUILD}/qo1905`, words, { stdio: ["ignore", "pipe", "ignore"] });
  const [line] = await once(program.stdout, "data");
  return {
    url: String(line).trim(),
    end: async () => {
      program.kill("SIGTERM");
      await once(program, "exit");
    },
  };
}

export const device = (mac, more) => ({ al_mac: mac, local: false, interfaces: [], neighbours: [], ...more });
export const station = (mac, at, more) => ({ mac, device: at, wired: false, random_mac: false, ...more });
const hex = (n) => n.toString(16).padStart(2, "0");
export const mac = (kind, n) => `02:${hex(kind)}:00:${hex(n >> 16)}:${hex((n >> 8) & 255)}:${hex(n & 255)}`;

/** A tree of so many devices, three below each, and stations at all of them. */
export function madeUp(devices, stations) {
  const mesh = { devices: [], stations: [] };
  for (let i = 0; i < devices; i++) {
    const parent = i === 0 ? undefined : mesh.devices[Math.floor((i - 1) / 3)];
    const link = parent && { parent: parent.al_mac, medium: "5 GHz", signal: -50 - (i % 30), rate: 400 + i };
    mesh.devices.push(
      device(mac(0xa0, i), {
        name: `device-${i}`,
        role: i === 0 ? "controller" : "agent",
        hops: parent ? parent.hops + 1 : 0,
        ...link,
      }),
    );
  }
  for (let i = 0; i < stations; i++) {
    const band = i % 3 === 0 ? "2.4 GHz" : "5 GHz";
    mesh.stations.push(
      station(mac(0x57, i), mesh.devices[i % devices].al_mac, {
        name: `station-${i}`,
        address: `10.0.${i >> 8}.${i & 255}`,
        band,
        signal: -40 - (i % 50),
        rate: 100,
      }),
    );
  }
  return mesh;
}

/** A server whose mesh can be changed: `tell(mesh, events)`. `more`: other files of it, [type, text] by path. */
export async function madeUpServer(real, mesh, more = {}) {
  let state = { version: 1, last: 0, events: [], mesh, time: new Date() };
  const waiting = [];
  const lines = () => {
    const heading = { schema: 1, source: "made up", time: state.time.toISOString(), missing: state.mesh.missing ?? [] };
    const all = [
      heading,
      ...state.mesh.devices.map((item) => ({ device: item })),
      ...state.mesh.stations.map((item) => ({ station: item })),
    ];
    return all.map((item) => JSON.stringify(item) + "\n").join("");
  };
  const news = (after) =>
    JSON.stringify({
      schema: 1,
      version: `1-${state.version}`,
      last: state.last,
      gap: false,
      events: state.events.filter((event) => event.number > after),
    });
  const headers = Object.fromEntries((await fetch(`${real.url}api/v1/`)).headers);
  for (const name of ["content-length", "content-type", "keep-alive", "connection", "content-encoding"])
    delete headers[name];
  const server = http.createServer(async (request, response) => {
    const { pathname, searchParams } = new URL(request.url, real.url);
    if (pathname === "/api/v1/mesh")
      response
        .writeHead(200, { ...headers, etag: `"1-${state.version}-lines"`, "content-type": "application/x-ndjson" })
        .end((state.lines ??= lines()));
    else if (more[pathname]) response.writeHead(200, { "content-type": more[pathname][0] }).end(more[pathname][1]);
    else if (pathname === "/api/v1/events") {
      const answer = () =>
        response
          .writeHead(200, { ...headers, "content-type": "application/json" })
          .end(news(Number(searchParams.get("after") ?? 0)));
      if (searchParams.get("version") === `1-${state.version}`) waiting.push(answer);
      else answer();
    } else {
      const file = await fetch(real.url.slice(0, -1) + pathname);
      response
        .writeHead(file.status, { ...headers, "content-type": file.headers.get("content-type") })
        .end(Buffer.from(await file.arrayBuffer()));
    }
  });
  server.listen(0, "127.0.0.1");
  await once(server, "listening");
  return {
    url: `http://127.0.0.1:${server.address().port}/`,
    tell(next, events = []) {
      state = {
        version: state.version + 1,
        last: state.last + events.length,
        mesh: next,
        time: new Date(),
        events: [
          ...state.events,
          ...events.map((event, i) => ({ number: state.last + i + 1, time: new Date().toISOString(), ...event })),
        ],
      };
      for (const answer of waiting.splice(0)) answer();
    },
    end() {
      for (const answer of waiting.splice(0)) answer();
      server.closeAllConnections();
      server.close();
    },
  };
}
