// The page in a real browser.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { cpSync, mkdtempSync, readdirSync, readFileSync, rmSync, statSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { after, afterEach, before, beforeEach, test } from "node:test";
import { gunzipSync } from "node:zlib";
import { axe, BUILD, chromium, device, mac, madeUp, madeUpServer, PROJECT, serve, station } from "./servers.mjs";

const HOME = `${PROJECT}docs/examples/home`;
let browser, real, folder;

before(async () => {
  browser = await chromium.launch({ executablePath: "/usr/bin/chromium", args: ["--no-sandbox"] });
  folder = mkdtempSync(`${tmpdir()}/qo1905-page-`);
  cpSync(HOME, folder, { recursive: true });
  real = await serve(folder);
});
after(async () => {
  await browser?.close();
  await real?.end();
  if (folder) rmSync(folder, { recursive: true });
});

// --- pages, and what they must never do ---

let open, troubles;
beforeEach(() => {
  open = [];
  troubles = [];
});
afterEach(async () => {
  for (const item of open.reverse()) await item();
  assert.deepEqual(troubles, [], "no error, no report of the policy, no request to anybody else");
});

async function show(url, { width = 1280, height = 800, expectGone = false, ...more } = {}) {
  const context = await browser.newContext({ viewport: { width, height }, ...more });
  open.push(() => context.close());
  const page = await context.newPage();
  const home = new URL(url).origin;
  page.on("pageerror", (error) => troubles.push(`error: ${error.message}`));
  page.on("dialog", (dialog) => (troubles.push(`dialog: ${dialog.message()}`), dialog.dismiss()));
  page.on("console", (message) => {
    if (["error", "warning"].includes(message.type()) && !(expectGone && message.text().includes("net::ERR_")))
      troubles.push(`console: ${message.text()}`);
  });
  page.on("request", (request) => {
    const to = new URL(request.url());
    if (to.origin !== home && !["data:", "blob:"].includes(to.protocol) && to.protocol !== new URL(url).protocol + "x")
      if (!(to.protocol === "file:" && home === "null")) troubles.push(`request: ${request.url()}`);
  });
  await page.addInitScript(() =>
    document.addEventListener("securitypolicyviolation", (event) =>
      console.error(`policy: ${event.violatedDirective} ${event.blockedURI}`),
    ),
  );
  await page.goto(url);
  await page.waitForSelector("header .summary");
  return page;
}

async function showMadeUp(mesh, path = "", options = {}) {
  const server = await madeUpServer(real, mesh);
  open.push(() => server.end());
  return [await show(server.url + path, options), server];
}

const small = () => madeUp(13, 60);

/** Where each card stands on the screen. */
const places = (page) =>
  page.$$eval(".card", (cards) =>
    Object.fromEntries(
      cards.map((card) => {
        const { x, y, width, height } = card.getBoundingClientRect();
        return [card.id, [x, y, width, height].map(Math.round).join(" ")];
      }),
    ),
  );

/** Until the page has drawn the state that was told last. */
const settled = (page, text) =>
  page.waitForFunction((wanted) => document.querySelector(".summary").textContent.includes(wanted), text);

// --- nothing moves that did not change ---

test("places are the same after a reload", async () => {
  const [page] = await showMadeUp(small());
  const before = await places(page);
  await page.reload();
  await page.waitForSelector(".card");
  assert.deepEqual(await places(page), before);
});

test("a station that roams changes two devices and nothing else, and moves nothing", async () => {
  const mesh = small();
  const [page, server] = await showMadeUp(mesh);
  const before = await places(page);
  await page.evaluate(() => {
    window.changed = new Set();
    new MutationObserver((list) => {
      for (const { target } of list) {
        const element = target.nodeType === Node.ELEMENT_NODE ? target : target.parentElement;
        window.changed.add(element?.closest(".card")?.id ?? element?.tagName);
      }
    }).observe(document.querySelector(".tree"), {
      subtree: true,
      childList: true,
      attributes: true,
      characterData: true,
    });
  });
  const roamed = { ...mesh.stations[1], device: mesh.devices[7].al_mac };
  const event = {
    event: "roam",
    station: roamed.mac,
    name: roamed.name,
    from: { device: mesh.devices[1].al_mac, wired: false },
    to: { device: roamed.device, wired: false },
  };
  const counts = await page.textContent(`[id="d-${roamed.device}"] .counts`);
  server.tell({ ...mesh, stations: mesh.stations.map((item, i) => (i === 1 ? roamed : item)) }, [event]);
  await page.waitForFunction(
    ([id, old]) => document.getElementById(id).querySelector(".counts").textContent !== old,
    [`d-${roamed.device}`, counts],
  );
  assert.deepEqual(await places(page), before);
  assert.deepEqual(
    [...(await page.evaluate(() => [...window.changed]))].sort(),
    [`d-${mesh.devices[1].al_mac}`, `d-${roamed.device}`].sort(),
  );
  await page.click("text=Events");
  await page.waitForSelector(".events li");
  assert.match(
    await page.textContent(".events li"),
    /station-1roamed from device-1 to device-7|station-1\s*roamed from device-1 to device-7/,
  );
});

test("a device that is gone stays, faded, and has its place when it is back", async () => {
  const mesh = small();
  const [page, server] = await showMadeUp(mesh);
  const before = await places(page);
  const gone = mesh.devices[5].al_mac;
  server.tell({ ...mesh, devices: mesh.devices.filter((item) => item.al_mac !== gone) });
  await page.waitForSelector(`.gone[id="d-${gone}"]`);
  assert.deepEqual(await places(page), before);
  assert.match(await page.textContent(`[id="d-${gone}"]`), /device-5gone since/);
  server.tell(mesh);
  await page.waitForSelector(`.gone[id="d-${gone}"]`, { state: "detached" });
  assert.deepEqual(await places(page), before);
});

test("a device that is gone can be dismissed", async () => {
  const mesh = small();
  const [page, server] = await showMadeUp(mesh);
  const gone = mesh.devices[12].al_mac;
  server.tell({ ...mesh, devices: mesh.devices.slice(0, 12) });
  await page.click(`.gone[id="d-${gone}"]`);
  await page.click("text=Dismiss");
  await page.waitForSelector(`[id="d-${gone}"]`, { state: "detached" });
  await page.reload();
  await page.waitForSelector(".card");
  assert.equal(await page.$(`[id="d-${gone}"]`), null);
});

test("another order in the file is the same picture", async () => {
  const mesh = small();
  const [page, server] = await showMadeUp(mesh);
  const before = await places(page);
  server.tell({ devices: [...mesh.devices].reverse(), stations: mesh.stations.slice(1).reverse() });
  await settled(page, "59 stations");
  assert.deepEqual(await places(page), before);
});

test("a search, a device that is opened and a new device move nobody", async () => {
  const mesh = small();
  const [page, server] = await showMadeUp(mesh);
  const before = await places(page);
  await page.fill("input[type=search]", "device-1");
  assert.deepEqual(await places(page), before);
  await page.keyboard.press("Escape");
  await page.click(`[id="d-${mesh.devices[0].al_mac}"]`);
  await page.waitForSelector(".panel");
  assert.deepEqual(await places(page), before);
  server.tell({
    ...mesh,
    devices: [...mesh.devices, device(mac(0xa0, 99), { hops: 1, parent: mesh.devices[0].al_mac, name: "new" })],
  });
  await settled(page, "14 devices");
  const now = await places(page);
  for (const id of Object.keys(before)) assert.equal(now[id], before[id]);
});

// --- strangers ---

const attempts = JSON.parse(execFileSync(`${BUILD}/tests/list_attempts`, { maxBuffer: 1 << 28 }));
const HOSTILE = [
  "<script>window.broken=1</script>",
  "<img src=x onerror=window.broken=1>",
  "</script><script>window.broken=1</script>",
  "javascript:window.broken=1",
  '"><svg onload=window.broken=1>',
  "'-window.broken-'",
  "${window.broken=1}",
  "{{window.broken=1}}",
  "<!--<script>",
  "]]><b>",
  "&lt;b&gt;",
  "\u2028window.broken=1",
  "<style>*{display:none}</style>",
  "__proto__",
  "at\ufffftic",
  "constructor",
];
const hostileMesh = () => {
  const texts = [...attempts, ...HOSTILE];
  const devices = texts.map((text, i) =>
    device(mac(0xa0, i), {
      name: text,
      firmware: text,
      address: text,
      medium: "5 GHz",
      hops: i === 0 ? 0 : 1,
      parent: i === 0 ? undefined : mac(0xa0, 0),
      interfaces: [{ mac: mac(0xb0, i), use: "bss", media_type: text }],
    }),
  );
  return {
    devices,
    stations: texts.map((text, i) =>
      station(mac(0x57, i), mac(0xa0, i), { name: text, address: text, interface_name: text }),
    ),
    missing: [{ part: "leases", file: HOSTILE[0], kind: "missing", reason: HOSTILE[1] }],
  };
};
// As the page may show them: what moves a cursor or turns the writing is another sign there.
const UNSEEN = [
  [0, 0x1f],
  [0x7f, 0x9f],
  [0x61c, 0x61c],
  [0x200b, 0x200f],
  [0x2028, 0x202e],
  [0x2060, 0x206f],
  [0xfeff, 0xfeff],
  [0xfff9, 0xfffb],
  [0xfffe, 0xffff],
];
const isUnseen = (letter) =>
  UNSEEN.some(([first, last]) => letter.codePointAt(0) >= first && letter.codePointAt(0) <= last);
const shown = (text) => Array.from(text, (letter) => (isUnseen(letter) ? "\ufffd" : letter)).join("");

test("whatever strangers call themselves stands there as text", async () => {
  assert.ok(attempts.length >= 360);
  const mesh = hostileMesh();
  const [page] = await showMadeUp(mesh, "#/stations?sort=mac");
  await page.waitForSelector("tbody a");
  /** @type {Map<string, string>} */
  const seen = new Map();
  for (let i = 0; i < 100 && seen.size < mesh.stations.length; i++) {
    for (const [key, text] of await page.$$eval("tbody tr:not([aria-hidden])", (rows) =>
      rows.map((row) => [row.querySelector("code").textContent, row.querySelector("a").textContent]),
    ))
      seen.set(key, text);
    await page.$eval(".table", (table) => (table.scrollTop += 500));
    await page.waitForTimeout(20);
  }
  assert.equal(seen.size, mesh.stations.length);
  for (const { mac: key, name } of mesh.stations) assert.equal(seen.get(key), shown(name) || key);
  for (const view of ["tree", "neighbours", "picture", "events"]) {
    await page.goto(page.url().replace(/#.*/, `#/${view}`));
    await page.waitForSelector(`[aria-current=page][href="#/${view}"]`);
    await page.waitForTimeout(100);
  }
  for (let i = 0; i < mesh.devices.length; i += 9) {
    await page.evaluate((to) => (location.hash = to), `#/device/${mesh.devices[i].al_mac}`);
    await page.waitForFunction(
      (wanted) => document.querySelector(".panel h2")?.textContent === wanted,
      shown(mesh.devices[i].name) || mesh.devices[i].al_mac,
    );
    assert.ok(
      (await page.textContent(".panel dl")).includes(shown(mesh.devices[i].firmware)),
      mesh.devices[i].firmware,
    );
  }
  assert.equal(await page.evaluate(() => window.broken), undefined);
  assert.match(await page.textContent(".notices"), /<script>window\.broken=1<\/script>: <img src=x/);
});

test("a saved page with such names runs nothing but itself", async () => {
  const strange = mkdtempSync(`${tmpdir()}/qo1905-strange-`);
  open.push(() => rmSync(strange, { recursive: true }));
  cpSync(HOME, strange, { recursive: true });
  const leases = readFileSync(`${HOME}/dnsmasq/dnsmasq.leases`, "utf8").trimEnd().split("\n");
  const names = HOSTILE.filter((name) => !name.includes(" ") && !name.includes("\u2028"));
  writeFileSync(
    `${strange}/dnsmasq/dnsmasq.leases`,
    leases
      .map(
        (line, i) =>
          line
            .split(" ")
            .map((word, n) => (n === 3 ? names[i % names.length] : word))
            .join(" ") + "\n",
      )
      .join(""),
  );
  const html = execFileSync(`${BUILD}/qo1905`, ["-s", strange, "export", "html", "--page", `${BUILD}/viewer`], {
    maxBuffer: 1 << 28,
  });
  writeFileSync(`${strange}/saved.html`, html);
  const page = await show(`file://${strange}/saved.html#/stations`);
  await page.waitForSelector("tbody a");
  const shownNames = await page.$$eval("tbody a[href^='#/station']", (links) => links.map((link) => link.textContent));
  assert.ok(names.filter((name) => shownNames.includes(name)).length >= 8, shownNames.join());
  assert.equal(await page.evaluate(() => window.broken), undefined);
  assert.match(await page.textContent(".age"), /^saved: /);
  for (const view of ["tree", "picture", "events", "neighbours"])
    await page.click(`nav >> text=${view[0].toUpperCase()}${view.slice(1)}`);
  await page.waitForSelector(".card");
});

// --- what it says ---

test("every number agrees with the command's", async () => {
  const snapshot = JSON.parse(execFileSync(`${BUILD}/qo1905`, ["-s", folder, "-o", "json", "tree"]));
  const status = JSON.parse(execFileSync(`${BUILD}/qo1905`, ["-s", folder, "-o", "json", "status"]));
  const page = await show(real.url);
  const summary = await page.textContent(".summary");
  assert.equal(snapshot.devices.length, status.devices);
  assert.ok(
    summary.startsWith(
      `${status.devices} devices · ${snapshot.stations.filter((s) => !s.wired).length} stations · ${snapshot.stations.filter((s) => s.wired).length} wired`,
    ),
    summary,
  );
  for (const one of snapshot.devices) {
    const here = snapshot.stations.filter((item) => item.device === one.al_mac);
    const counted = (band) => here.filter((item) => item.band === band).length;
    const parts = [
      counted("2.4 GHz") && `2.4 GHz ${counted("2.4 GHz")}`,
      counted("5 GHz") && `5 GHz ${counted("5 GHz")}`,
      here.some((s) => s.wired) && `${here.filter((s) => s.wired).length} wired`,
    ];
    assert.equal(await page.textContent(`[id="d-${one.al_mac}"] .counts`), parts.filter(Boolean).join(" · "));
    await page.click(`[id="d-${one.al_mac}"]`);
    await page.waitForFunction((name) => document.querySelector(".panel h2")?.textContent === name, one.name);
    const text = await page.textContent(".panel");
    for (const value of [one.al_mac, one.firmware, one.address, ...one.interfaces.map((item) => item.mac)])
      assert.ok(!value || text.includes(value), value);
    if (one.signal) assert.ok(text.includes(`${one.medium} −${-one.signal} dBm, ${one.rate} Mbit/s`), text);
    for (const item of here) assert.ok(text.includes(item.name ?? item.mac), item.mac);
  }
  await page.click("nav >> text=Stations");
  await page.waitForSelector("tbody a");
  const rows = await page.$$eval("tbody tr", (list) =>
    list.map((row) => [...row.children].map((cell) => cell.textContent)),
  );
  assert.equal(rows.length, snapshot.stations.length);
  for (const item of snapshot.stations) {
    const row = rows.find((cells) => cells[1].startsWith(item.mac));
    const at = snapshot.devices.find((one) => one.al_mac === item.device);
    assert.deepEqual(
      [row[0], row[2], row[3], row[4].replace(" weak", ""), row[5], row[6]],
      [
        item.name ?? item.mac,
        at.name,
        item.wired ? "wired" : item.band,
        item.signal ? `−${-item.signal} dBm` : "",
        item.rate ? `${item.rate} Mbit/s` : "",
        item.address ?? "",
      ],
    );
  }
});

test("a station's way is told and lit up", async () => {
  const mesh = small();
  const [page] = await showMadeUp(mesh, `#/station/${mesh.stations[12].mac}`);
  await page.waitForSelector(".way");
  assert.deepEqual(await page.$$eval(".way li", (items) => items.map((item) => item.firstElementChild.textContent)), [
    "station-12",
    "device-12",
    "device-3",
    "device-0",
  ]);
  const lit = await page.$$eval(".card.lit .name", (names) => names.map((name) => name.textContent));
  assert.deepEqual(lit.sort(), ["device-0", "device-12", "device-3"]);
  assert.equal(await page.locator(".link.lit").count(), 2);
});

test("what is missing is said in words", async () => {
  const [page] = await showMadeUp({
    ...small(),
    missing: [{ part: "dump", file: "/tmp/dump.txt", kind: "missing", reason: "No such file or directory" }],
  });
  assert.match(
    await page.textContent(".notices"),
    /\/tmp\/dump\.txt: No such file or directory; without it the stations of the device that wrote the model are missing/,
  );
});

test("an address leads to the same view again", async () => {
  const [page] = await showMadeUp(small(), "#/stations?band=5+GHz&q=station-1&sort=-signal");
  await page.waitForSelector("tbody a");
  assert.match(await page.textContent("p[role=status].quiet"), /^\d+ of 60 connected$/);
  const rows = () => page.$$eval("tbody a[href^='#/station']", (links) => links.map((link) => link.textContent));
  const before = await rows();
  await page.reload();
  await page.waitForSelector("tbody a");
  assert.deepEqual(await rows(), before);
  await page.click("tbody a >> nth=0");
  await page.waitForSelector(".panel h2");
  assert.equal(await page.textContent(".panel h2"), before[0]);
});

test("filters and columns do what they say", async () => {
  const [page] = await showMadeUp(small(), "#/stations");
  await page.waitForSelector("tbody a");
  const status = () => page.textContent("p[role=status].quiet");
  await page.selectOption("select >> nth=0", "2.4 GHz");
  await page.waitForFunction(() => location.hash.includes("band"));
  assert.equal(await status(), "20 of 60 connected");
  await page.selectOption("select >> nth=1", { label: "device-2" });
  assert.equal(
    await status(),
    `${small().stations.filter((s, i) => i % 3 === 0 && i % 13 === 2).length} of 60 connected`,
  );
  await page.goto(page.url().replace(/#.*/, "#/stations?weak=1"));
  await page.waitForFunction(() => document.querySelector("input[type=checkbox]")?.checked);
  assert.equal(await status(), `${small().stations.filter((s) => s.signal < -75).length} of 60 connected`);
  await page.click("th.signal button");
  await page.waitForSelector("th.signal[aria-sort=ascending]");
  assert.equal(await page.textContent("tbody tr:first-child .signal"), "−89 dBm weak");
});

test("of 16,000 stations only the rows that can be seen are in the page", async () => {
  const [page] = await showMadeUp(madeUp(300, 16000), "#/stations");
  await page.waitForSelector("tbody a");
  assert.ok((await page.locator("tbody tr").count()) < 100);
  assert.equal(await page.getAttribute("table", "aria-rowcount"), "16001");
  await page.$eval(".table", (table) => (table.scrollTop = table.scrollHeight));
  await page.waitForSelector("tr[aria-rowindex='16001']");
  assert.ok((await page.locator("tbody tr").count()) < 100);
  await page.fill("input[type=search] >> nth=1", "station-15999");
  await page.waitForFunction(() => document.querySelectorAll("tbody a[href^='#/station']").length === 1);
});

test("a search leads to the place", async () => {
  const mesh = madeUp(300, 300);
  const [page] = await showMadeUp(mesh);
  await page.fill("input[type=search]", "station-280");
  await page.keyboard.press("Enter");
  await page.waitForSelector(".panel");
  const card = page.locator(`[id="d-${mesh.devices[280].al_mac}"]`);
  await page.waitForFunction((id) => {
    const box = document.getElementById(id)?.getBoundingClientRect();
    return box && box.top >= 0 && box.bottom <= innerHeight;
  }, `d-${mesh.devices[280].al_mac}`);
  assert.match(await card.getAttribute("class"), /selected/);
});

test("pictures are saved as SVG and PNG, complete and without the page", async () => {
  const [page] = await showMadeUp(small());
  for (const kind of ["SVG", "PNG"]) {
    const [download] = await Promise.all([page.waitForEvent("download"), page.click(`text=Save ${kind}`)]);
    const file = readFileSync(await download.path());
    if (kind === "PNG") assert.equal(file.subarray(1, 4).toString(), "PNG");
    else {
      const text = file.toString();
      for (let i = 0; i < 13; i++) assert.ok(text.includes(`>device-${i}<`));
      assert.ok(!text.includes("var(") && !text.includes("class="));
    }
    assert.ok(file.length > 5000);
  }
});

test("the picture of all stations tells whose a mark is, and opens it", async () => {
  const [page] = await showMadeUp(madeUp(1, 2), "#/picture");
  await page.waitForSelector("canvas");
  await page.waitForTimeout(200);
  const box = await page.locator("canvas").boundingBox();
  const scale = 1;
  const at = { x: box.x + 12 * scale + 8 + 7, y: box.y + 12 * scale + 24 + 7 };
  await page.mouse.move(at.x, at.y);
  await page.waitForFunction(() => document.querySelector(".tools bdi").textContent.startsWith("station-0"));
  await page.mouse.click(at.x, at.y);
  await page.waitForFunction(() => document.querySelector(".panel h2")?.textContent === "station-0");
});

// --- for everybody ---

const CHECKED = [
  "#/tree",
  "#/neighbours",
  "#/stations",
  "#/picture",
  "#/events",
  `#/device/${mac(0xa0, 1)}`,
  `#/station/${mac(0x57, 45)}`,
];
for (const colorScheme of ["light", "dark"])
  for (const width of [360, 1280])
    test(`axe finds nothing: ${colorScheme}, ${width}`, async () => {
      const [page] = await showMadeUp(small(), "", { colorScheme, width, bypassCSP: true });
      await page.addScriptTag({ path: axe });
      for (const hash of CHECKED) {
        await page.evaluate((to) => (location.hash = to), hash);
        await page.waitForTimeout(250);
        const { violations } = await page.evaluate(() =>
          window.axe.run(document, { runOnly: ["wcag2a", "wcag2aa", "wcag21aa", "best-practice"] }),
        );
        assert.deepEqual(
          violations.map((item) => `${hash} ${item.id}: ${item.nodes.map((node) => node.html).join()}`),
          [],
        );
      }
    });

test("all can be reached and done by keyboard", async () => {
  const mesh = small();
  const [page] = await showMadeUp(mesh);
  const focused = () =>
    page.evaluate(
      () => document.activeElement.id || document.activeElement.className || document.activeElement.tagName,
    );
  await page.keyboard.press("Tab");
  assert.equal(await focused(), "skip");
  await page.keyboard.press("Enter");
  assert.equal(await focused(), "content");
  for (let i = 0; i < 20 && !(await focused()).startsWith("d-"); i++) await page.keyboard.press("Tab");
  assert.equal(await focused(), `d-${mesh.devices[0].al_mac}`);
  await page.keyboard.press("ArrowRight");
  assert.equal(await focused(), `d-${mesh.devices[1].al_mac}`);
  await page.keyboard.press("ArrowDown");
  assert.equal(await focused(), `d-${mesh.devices[2].al_mac}`);
  await page.keyboard.press("ArrowUp");
  await page.keyboard.press("ArrowLeft");
  assert.equal(await focused(), `d-${mesh.devices[0].al_mac}`);
  await page.keyboard.press("Enter");
  await page.waitForSelector(".panel");
  assert.equal(await focused(), "H2");
  await page.keyboard.press("Escape");
  await page.waitForSelector(".panel", { state: "detached" });
  await page.focus("input[type=search]");
  await page.keyboard.type("station-7");
  await page.keyboard.press("Tab");
  await page.keyboard.press("Enter");
  await page.waitForFunction(() => document.querySelector(".panel h2")?.textContent === "station-7");
  await page.evaluate(() => (location.hash = "#/stations"));
  await page.waitForSelector("th.signal button");
  await page.focus("th.signal button");
  await page.keyboard.press("Enter");
  await page.waitForSelector("th.signal[aria-sort=ascending]");
  await page.focus(".table");
  await page.keyboard.press("End");
  await page.waitForSelector("tr[aria-rowindex='61']");
});

test("who wants calm gets no motion", async () => {
  const mesh = small();
  const [page] = await showMadeUp(mesh, `#/device/${mesh.devices[3].al_mac}`, { reducedMotion: "reduce" });
  await page.waitForSelector(".selected");
  assert.equal(await page.evaluate(() => document.getAnimations().length), 0);
});

test("on paper stand the mesh and nothing to press", async () => {
  const [page] = await showMadeUp(small());
  await page.emulateMedia({ media: "print" });
  assert.deepEqual(
    await page.$$eval("button, input, nav", (parts) => parts.filter((part) => part.checkVisibility()).length),
    0,
  );
  assert.ok(await page.isVisible(".card"));
});

for (const width of [360, 1280, 3840])
  test(`nothing is wider than a window of ${width}`, async () => {
    const [page] = await showMadeUp(small(), "", { width });
    for (const hash of CHECKED) {
      await page.evaluate((to) => (location.hash = to), hash);
      await page.waitForTimeout(150);
      assert.ok((await page.evaluate(() => document.documentElement.scrollWidth - innerWidth)) <= 0, hash);
    }
    if (width === 360) {
      await page.evaluate(() => (location.hash = "#/tree"));
      const small = await page.$$eval("button, nav a, .card, input", (parts) =>
        parts
          .filter((part) => part.checkVisibility() && part.getBoundingClientRect().height < 30)
          .map((part) => part.outerHTML),
      );
      assert.deepEqual(small, [], "what a finger has to meet is large enough");
    }
  });

// --- while the server comes and goes ---

/** The model last, as a gateway does: what is written then is looked at. */
function writeExample(name) {
  const from = `${PROJECT}docs/examples/${name}`;
  cpSync(from, folder, { recursive: true, filter: (path) => !path.endsWith("qo1905.json") });
  cpSync(`${from}/tmp/qo1905.json`, `${folder}/tmp/qo1905.json`);
}

test("with the server gone the picture stays, the page says so, and it comes back by itself", async () => {
  const first = await serve(folder);
  const port = new URL(first.url).port;
  const page = await show(first.url, { expectGone: true });
  const before = await places(page);
  await first.end();
  await page.waitForSelector(".notices p");
  assert.match(await page.textContent(".notices"), /The server does not answer\. This is the picture of /);
  assert.deepEqual(Object.keys(await places(page)), Object.keys(before));
  const second = await serve(folder, port);
  open.push(() => second.end());
  await page.waitForSelector(".notices p", { state: "detached", timeout: 20000 });
});

test("what the module writes next is seen without a reload", async () => {
  const page = await show(real.url);
  const home = await page.textContent(`[id="d-02:0b:00:00:00:01"] .counts`);
  writeExample("later");
  await page.click("text=Events");
  await page.waitForFunction(() => document.querySelectorAll(".events li").length === 2);
  assert.match(
    await page.textContent(".events"),
    /tv.*roamed from living-room, 5 GHz, −52 dBm to attic, 5 GHz, −52 dBm/,
  );
  await page.click("text=Tree");
  assert.equal(await page.textContent(`[id="d-02:0b:00:00:00:01"] .counts`), home, "one came, one went");
  writeExample("home");
});

test("a model that is gone is told with the picture of before", async () => {
  const gone = mkdtempSync(`${tmpdir()}/qo1905-gone-`);
  cpSync(HOME, gone, { recursive: true });
  const server = await serve(gone);
  open.push(() => server.end());
  const page = await show(server.url);
  rmSync(gone, { recursive: true });
  await page.waitForFunction(() => document.querySelector(".notices").textContent.startsWith("Nothing new comes"));
  assert.match(
    await page.textContent(".notices"),
    /^Nothing new comes: .*qo1905\.json: No such file or directory\. This is the picture of /,
  );
  assert.equal(await page.locator(".card").count(), 3);
});

// --- what was ---

// A day and a night of which everything is known (tests/support/make_past.cpp), in UTC.
const BEGIN = Date.UTC(2026, 10, 21, 6) / 1000;
const hour = (hours) => BEGIN + hours * 3600;
const [PHONE, BEN, ATTIC] = ["02:57:00:00:00:24", "02:57:00:00:00:15", "02:0b:00:00:00:01"];

async function serveWithPast() {
  const database = `${folder}/past-${open.length}-${Date.now()}.db`;
  execFileSync(`${BUILD}/tests/make-past`, [`${PROJECT}lab/scenarios/home.json`, database]);
  const server = await serve(folder, 0, "--db", database, "--home", "home");
  open.push(() => server.end());
  return server;
}
const showPast = async (path, options) => {
  const server = await serveWithPast();
  return [await show(`${server.url}#/history${path}`, { timezoneId: "UTC", ...options }), server];
};

/** Whether the chart has drawn anything in a colour at a time. */
const isDrawn = (page) =>
  page.waitForFunction(() => {
    const canvas = document.querySelector(".curve canvas");
    if (!canvas) return false;
    const { data } = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height);
    return data.some((value) => value !== 0);
  });

test("the chart is loaded when the history is opened, and not before", async () => {
  const server = await serveWithPast();
  const page = await show(server.url);
  await page.waitForSelector(".card");
  const loaded = () =>
    page.evaluate(() => performance.getEntriesByType("resource").some((entry) => entry.name.includes("uplot")));
  assert.equal(await loaded(), false);
  await page.click(".views >> text=History");
  await isDrawn(page);
  assert.equal(await loaded(), true);
});

test("a station's sessions are those that the command tells", async () => {
  const [page, server] = await showPast(`?who=${BEN}&kind=station`);
  await isDrawn(page);
  assert.equal(await page.textContent(".history h2"), "phone-ben");
  const rows = await page.$$eval(".history .table tbody tr", (all) =>
    all.map((row) => [...row.cells].map((cell) => cell.textContent)),
  );
  const told = await (await fetch(`${server.url}api/v1/history/who?mac=${BEN}`)).json();
  assert.equal(rows.length, told.sessions.length);
  assert.deepEqual(
    rows.map((row) => [row[2], row[4], row[5]]),
    told.sessions
      .reverse()
      .map((item) => [
        `${item.at.name}, ${item.at.medium}`,
        `−${-item.first_signal} dBm`,
        item.last_signal === undefined ? "" : `−${-item.last_signal} dBm`,
      ]),
  );
});

test("the mesh as it was is plainly marked, and back is one click", async () => {
  const [page] = await showPast(`?at=${hour(21)}`);
  await page.waitForSelector(".then .card");
  assert.match(await page.textContent(".past"), /^The past: .*11\/22\/2026.*3:00:00/);
  assert.match(await page.getAttribute(`.then [id="d-${ATTIC}"]`, "aria-label"), /5 GHz −8\d dBm, 78 Mbit\/s/);
  await page.click("text=back to now");
  await page.waitForFunction(() => !document.querySelector(".past"));
  await page.click(".views >> text=Tree");
  assert.match(await page.getAttribute(`[id="d-${ATTIC}"]`, "aria-label"), /5 GHz −57 dBm, 866 Mbit\/s/);
});

test("the slider and a click into the curve choose a moment, by mouse and by keyboard", async () => {
  const [page] = await showPast("");
  await isDrawn(page);
  await page.focus(".slider input");
  await page.keyboard.press("Home");
  await page.waitForSelector(".then .card");
  const chosen = () => page.evaluate(() => Number(new URLSearchParams(location.hash.split("?")[1]).get("at")));
  assert.equal(await chosen(), BEGIN + 1);
  await page.keyboard.press("PageUp");
  await page.waitForFunction((begin) => Number(location.hash.match(/at=(\d+)/)[1]) > begin + 3600, BEGIN);
  const box = await page.locator(".curve .u-over").boundingBox();
  await page.mouse.click(box.x + box.width / 2, box.y + 60);
  await page.waitForFunction((noon) => Math.abs(Number(location.hash.match(/at=(\d+)/)[1]) - noon) < 300, hour(12));
});

test("places of the live tree are not touched by a look into the past", async () => {
  const [page, server] = await showPast("");
  const kept = () => page.evaluate(() => JSON.stringify(localStorage));
  await page.goto(`${server.url}#/tree`);
  await page.waitForSelector(".card");
  const before = [await kept(), await places(page)];
  // Without power, the attic is not there.
  await page.goto(`${server.url}#/history?at=${hour(6) + 60}`);
  await page.waitForSelector(".then .card.gone");
  assert.equal(await kept(), before[0]);
  await page.goto(`${server.url}#/tree`);
  await page.waitForSelector(".scroll .card");
  assert.deepEqual(await places(page), before[1]);
});

test("what nobody knows is a gap, in words and as a hole", async () => {
  const [page] = await showPast(`?at=${hour(22) + 40 * 60}`);
  await page.waitForSelector(".past");
  await page.waitForFunction(() =>
    document.querySelector(".history").textContent.includes("nothing is known of that time"),
  );
  const gaps = page.locator("table", { hasText: "When nothing was recorded" });
  assert.match(await gaps.locator("tbody").textContent(), /20 min.*No such file or directory/);
  troubles = troubles.filter((text) => !text.includes("404")); // what is not known is not found
});

test("a device opened leads to its history, and that to its stations then", async () => {
  const server = await serveWithPast();
  const page = await show(`${server.url}#/device/${ATTIC}`, { timezoneId: "UTC" });
  await page.click(".panel >> text=Its history");
  await isDrawn(page);
  assert.equal(await page.textContent(".history h2"), "attic");
  await page.goto(`${page.url()}&at=${hour(18)}`);
  await page.click(".then table a:has-text('phone-anna')");
  await page.waitForFunction(() => document.querySelector(".history h2").textContent === "phone-anna");
  assert.ok(decodeURIComponent(page.url()).includes(PHONE));
});

test("nobody can hear by the colours alone: axe finds nothing in the history", async () => {
  for (const [width, colorScheme] of [
    [360, "light"],
    [1280, "dark"],
    [1280, "light"],
  ]) {
    const [page] = await showPast(`?who=${ATTIC}&kind=device&at=${hour(21)}`, { width, colorScheme, height: 1400 });
    await page.waitForSelector(".then .card");
    await isDrawn(page);
    // By hand: the policy forbids what axe would be added with.
    await page.evaluate(readFileSync(axe, "utf8"));
    const { violations } = await page.evaluate(() => window.axe.run());
    assert.deepEqual(
      violations.map((item) => [item.id, item.nodes.map((node) => node.html)]),
      [],
    );
    const overflow = await page.evaluate(() => document.documentElement.scrollWidth > innerWidth);
    assert.equal(overflow, false, `${width} wide`);
  }
});

test("strangers' names in the past are text", async () => {
  const texts = [...attempts, ...HOSTILE];
  const time = new Date(hour(1) * 1000).toISOString();
  const who = (name, i) => ({ mac: mac(0x57, i), kind: "station", name });
  const heading = { schema: 1, source: "x", first: time, last: new Date(hour(24) * 1000).toISOString() };
  const sessions = texts.map((name, i) => ({
    since: new Date(hour(0) * 1000 + i * 1000).toISOString(),
    until: new Date(hour(0) * 1000 + (i + 1) * 1000).toISOString(),
    link: i,
    at: { device: mac(0xa0, i), name, medium: name },
    came: "roam",
  }));
  const answers = {
    "/api/v1/history": heading,
    "/api/v1/history/who": {
      who: who(texts[0], 0),
      sessions: sessions.slice(0, 150),
      curve: { step: 300, points: [{ time, link: 1, signal: { n: 1, min: -60, mean: -60, max: -60 } }] },
    },
    "/api/v1/history/counts": { counts: [{ time, devices: 1, on_2_4ghz: 1, on_5ghz: 1, wired: 1, weak: 1 }] },
    "/api/v1/history/gaps": {
      gaps: texts.slice(0, 190).map((cause) => ({ since: time, until: time, part: "model", cause })),
    },
    "/api/v1/history/roamers": {
      roamers: texts.slice(0, 190).map((name, i) => ({ station: who(name, i), roams: 1, bounces: 0 })),
    },
    "/api/v1/history/sticky": {
      sticky: texts.slice(190, 380).map((name, i) => ({
        station: who(name, i),
        at: { device: mac(0xa0, i), name },
        signal: -80,
        seconds: 600,
        other: { mac: mac(0xa0, i), kind: "device", name },
      })),
    },
    "/api/v1/history/mesh": { error: "<img src=x onerror=alert(1)>" },
  };
  const more = Object.fromEntries(
    Object.entries(answers).map(([path, json]) => [path, ["application/json", JSON.stringify(json)]]),
  );
  const server = await madeUpServer(real, small(), more);
  open.push(() => server.end());
  const page = await show(`${server.url}#/history?at=${hour(2)}`);
  await page.waitForSelector("text=<img src=x onerror=alert(1)>");
  const shown = await page.$$eval(".history td bdi", (all) => all.map((item) => item.textContent));
  assert.ok(shown.length > 700, String(shown.length));
  assert.ok(shown.some((text) => text.includes("<")));
  await page.goto(`${server.url}#/history?who=${mac(0x57, 0)}&kind=station`);
  await isDrawn(page);
  await page.waitForFunction(() => document.querySelectorAll(".history .table tbody tr").length === 150);
  assert.equal(await page.evaluate(() => document.querySelectorAll("script").length), 1);
});

test("a server that remembers nothing says how it would", async () => {
  const page = await show(`${real.url}#/history`, { expectGone: true });
  await page.waitForSelector("text=qo1905 record --db FILE");
  troubles = troubles.filter((text) => !text.includes("404"));
});

// --- how large ---

// The chart alone is 22 KB, and comes when somebody opens the history.
test("the first view is at most 26 KB compressed, all but the chart 40 KB, and all of it 62 KB", async () => {
  const page = await show(real.url);
  await page.waitForSelector(".card");
  const bytes = await page.evaluate(() =>
    [...performance.getEntriesByType("navigation"), ...performance.getEntriesByType("resource")]
      .filter((entry) => !entry.name.includes("/api/"))
      .reduce((sum, entry) => sum + entry.encodedBodySize, 0),
  );
  console.log(`first view: ${bytes} bytes`);
  assert.ok(bytes > 15000 && bytes <= 26 * 1024, String(bytes));
  const all = [`${BUILD}/viewer`, `${BUILD}/viewer/vendor`].flatMap((path) =>
    readdirSync(path)
      .filter((name) => name.endsWith(".gz"))
      .map((name) => `${path}/${name}`),
  );
  const size = all.reduce((sum, path) => sum + statSync(path).size, 0);
  const chart = all.filter((path) => path.includes("uplot")).reduce((sum, path) => sum + statSync(path).size, 0);
  console.log(`all of it: ${size} bytes, of these the chart: ${chart}`);
  assert.ok(size - chart <= 40 * 1024, String(size - chart));
  assert.ok(size <= 62 * 1024, String(size));
  for (const path of all) assert.deepEqual(gunzipSync(readFileSync(path)), readFileSync(path.slice(0, -3)), path);
});
