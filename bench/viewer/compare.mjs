// How soon the first picture of a large mesh stands, against a general graph library on the same data in the same
// browser, and how long the longest frame is while the page takes in a new state of it.
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { chromium, madeUp, madeUpServer, serve, TOOLS } from "../../tests/viewer/servers.mjs";

const require = createRequire(`${TOOLS}/`);
const DEVICES = 300;
const STATIONS = 16000;
const RUNS = 3;
const best = (list) => Math.min(...list);

/** From the first byte asked for to the frame after the window is full. */
async function firstPicture(browser, url) {
  const page = await browser.newPage();
  await page.addInitScript(() => {
    const look = () => {
      const isThere = document.querySelectorAll(".card").length >= 10; // all that the window shows
      if (isThere) requestAnimationFrame(() => setTimeout(() => (window.shown = performance.now()), 0));
      else requestAnimationFrame(look);
    };
    look();
  });
  await page.goto(url);
  const shown = await page.waitForFunction(() => window.shown);
  const time = await shown.jsonValue();
  await page.close();
  return time;
}

/** The same data, fetched and drawn by the library's own tree layout; what stands at devices and links there stands there,
 * too. From the address to the frame after the whole picture, library and all, as ours. */
async function firstPictureOfLibrary(browser, url) {
  const page = await browser.newPage();
  await page.goto(`${url}cytoscape.html`);
  const time = await (await page.waitForFunction(() => window.shown)).jsonValue();
  await page.close();
  return time;
}

/** A page as its users would write it. */
const LIBRARY_PAGE = `<!doctype html><meta charset="utf-8"><script src="cytoscape.js"></script>
<div id="graph" style="width:1280px;height:800px"></div><script>
(async () => {
  const lines = (await (await fetch("api/v1/mesh")).text()).trimEnd().split("\\n").map((line) => JSON.parse(line));
  const elements = [];
  for (const { device, station } of lines) {
    if (device) {
      elements.push({ data: { id: device.al_mac, label: device.name } });
      const label = device.medium + " " + device.signal + " dBm " + device.rate + " Mbit/s";
      if (device.parent) elements.push({ data: { source: device.parent, target: device.al_mac, label } });
    } else if (station) {
      elements.push({ data: { id: station.mac } });
      elements.push({ data: { source: station.device, target: station.mac } });
    }
  }
  const style = [{ selector: "[label]", style: { label: "data(label)" } }];
  const graph = cytoscape({ container: document.getElementById("graph"), elements, style, layout: { name: "breadthfirst" } });
  await new Promise((resolve) => graph.one("render", resolve));
  requestAnimationFrame(() => setTimeout(() => (window.shown = performance.now()), 0));
})();
</script>`;

/** The longest time between two frames, and the longest task, while new states arrive. */
async function refresh(browser, server, mesh) {
  const page = await browser.newPage();
  await page.goto(server.url);
  await page.waitForSelector(".card");
  await page.waitForTimeout(1000);
  await page.evaluate(() => {
    window.frames_ = [];
    window.tasks = [0];
    new PerformanceObserver((list) => list.getEntries().forEach((entry) => window.tasks.push(entry.duration))).observe({
      type: "longtask",
    });
    let last = performance.now();
    const frame = (now) => {
      window.frames_.push(now - last);
      last = now;
      requestAnimationFrame(frame);
    };
    requestAnimationFrame(frame);
  });
  for (let i = 0; i < 5; i++) {
    const stations = mesh.stations.map((item, n) => ({
      ...item,
      signal: -40 - ((n + i) % 50),
      device: n % 100 === i ? mesh.devices[(n * 7 + i) % DEVICES].al_mac : item.device,
    }));
    server.tell({ ...mesh, stations });
    await page.waitForTimeout(1500);
  }
  const found = await page.evaluate(() => ({
    frame: Math.max(...window.frames_.slice(2)),
    task: Math.max(...window.tasks),
  }));
  await page.close();
  return found;
}

const real = await serve(new URL("../../docs/examples/home", import.meta.url).pathname);
const mesh = madeUp(DEVICES, STATIONS);
const server = await madeUpServer(real, mesh, {
  "/cytoscape.html": ["text/html", LIBRARY_PAGE],
  "/cytoscape.js": ["text/javascript", readFileSync(require.resolve("cytoscape/dist/cytoscape.min.js"))],
});
const browser = await chromium.launch({ executablePath: "/usr/bin/chromium", args: ["--no-sandbox"] });
const ours = [];
const library = [];
for (let i = 0; i < RUNS; i++) {
  ours.push(await firstPicture(browser, server.url));
  library.push(await firstPictureOfLibrary(browser, server.url));
}
const { frame, task } = await refresh(browser, server, mesh);
console.log(`${DEVICES} devices, ${STATIONS} stations, best of ${RUNS}, from the address to the picture, in ms`);
console.log(
  `first picture: ${best(ours).toFixed(0)}; cytoscape: ${best(library).toFixed(0)}; ${(best(library) / best(ours)).toFixed(1)} times`,
);
console.log(`refresh: longest frame ${frame.toFixed(0)}, longest task ${task.toFixed(0)}`);
await browser.close();
server.end();
await real.end();
