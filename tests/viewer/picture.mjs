// A picture of the page: picture.mjs FOLDER FILE, the FOLDER of a device, a PNG.
import { argv } from "node:process";
import { chromium, serve } from "./servers.mjs";

const [folder, file] = argv.slice(2);
const server = await serve(folder);
const browser = await chromium.launch({ executablePath: "/usr/bin/chromium", args: ["--no-sandbox"] });
const page = await browser.newPage({ viewport: { width: 1400, height: 590 }, reducedMotion: "reduce" });
await page.goto(server.url);
await page.waitForSelector(".summary >> text=weak");
await page.screenshot({ path: file });
await browser.close();
await server.end();
