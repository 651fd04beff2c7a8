// The viewer in a real browser.
import assert from "node:assert/strict";
import { mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, afterEach, before, test } from "node:test";
import { COLOUR, DEPTH, Viewer, card, openBrowser, serve, setting } from "./viewer.mjs";

const MAX_DEPTH = "DisparityTransform#2";
const ISLANDS = "NoiseRemovalFilter#0";
const INFRARED = 2;

let vycam;
let chromium;
let viewer;

before(async () => {
  vycam = await serve("--camera", "Corvid:depth,color,ir", "--size", "320x200");
  chromium = await openBrowser();
  viewer = await Viewer.open(chromium.browser, vycam.address);
});
after(async () => {
  await chromium?.close();
  vycam?.server.kill("SIGKILL");
});
afterEach(async () => {
  await viewer.reset();
  assert.deepEqual(viewer.complaints.splice(0), []);
});

test("the page loads under a strict content policy, and shows frames of every stream", async () => {
  assert.match(viewer.answer.headers()["content-security-policy"], /default-src 'none'; script-src 'self'; style-src 'self'/);
  assert.equal(await viewer.page.title(), "vycam view");
  await viewer.untilText("#link", /live/);
  for (const stream of [DEPTH, COLOUR, INFRARED]) {
    await viewer.page.$eval(card(stream, "h3"), (heading) => heading.scrollIntoView());
    await viewer.page.waitForSelector(card(stream, '[data-state="live"]'));
    await viewer.nextFrame(stream);
    const { left, right } = await viewer.picture(stream);
    assert.equal(left.empty + right.empty, 0);
  }
});

test("the scale follows the picture or what is typed", async () => {
  await viewer.type(card(DEPTH, ".low"), 1000);
  await viewer.type(card(DEPTH, ".high"), 1001);
  assert.equal(await viewer.page.$eval(card(DEPTH, ".fit input"), (box) => box.checked), false);
  // Nearly everything is farther: the last colour of the palette.
  await viewer.untilPicture(({ right }) => right.mean[2] > right.mean[1] + 60);
  await viewer.click(card(DEPTH, ".fit input"));
  await viewer.until((selector) => Number(document.querySelector(selector).value) > 1001, card(DEPTH, ".high"));
});

test("a slider changes the picture, and goes back to the start", async () => {
  const start = await viewer.picture();
  assert.ok(start.right.missing < 0.5);
  await viewer.page.focus(setting(MAX_DEPTH, '[type="range"]'));
  await viewer.page.keyboard.press("Home");
  const none = await viewer.untilPicture(({ right }) => right.missing > 0.95);
  assert.ok(none.left.missing < 0.5, "the side before the chain has changed, too");
  await viewer.click(setting(MAX_DEPTH, ".back"));
  await viewer.untilPicture(({ right }) => right.missing < 0.5);
});

test("a stream without any measurement is drawn, and so are the others", async () => {
  await viewer.page.focus(setting(MAX_DEPTH, '[type="range"]'));
  await viewer.page.keyboard.press("Home");
  await viewer.untilText(card(DEPTH, ".settings .changed"), /1 changed/);
  await viewer.page.reload();
  await viewer.page.waitForSelector(card(DEPTH, '[data-state="live"]'));
  await viewer.page.waitForSelector(card(COLOUR, '[data-state="live"]'));
});

test("a switch in the chain turns a filter off", async () => {
  const box = card(DEPTH, ".chain li:nth-child(4)");
  assert.match(await viewer.untilText(`${box} .time`, /\d ms/), /^\d+\.\d\d ms$/);
  await viewer.click(`${box} input`);
  await viewer.page.waitForSelector(`${box}.off`);
  await viewer.untilText(card(DEPTH, ".facts"), /, disparity$/);
  await viewer.untilText(card(DEPTH, '[data-name="error"]'), /–/);
  assert.equal(await viewer.page.$eval(setting("DisparityTransform#255", "input"), (input) => input.checked), false);
  await viewer.click('[value="error"]');
  await viewer.untilText(card(DEPTH, '[data-state="nothing"] .waiting'), /no depth/);
});

test("a refused value is told in the host's words, and the old one comes back", async () => {
  await viewer.type(setting(ISLANDS, '[type="number"]'), 20000);
  assert.match(await viewer.untilText(setting(ISLANDS, ".refused"), /./), /^20000 was refused: .*10000/);
  await viewer.until((selector) => document.querySelector(selector).value === "200", setting(ISLANDS, '[type="number"]'));
  await viewer.screenshot("refused");
  await viewer.type(setting(ISLANDS, '[type="number"]'), 300);
  const isClear = () => viewer.until((selector) => document.querySelector(selector).hidden, setting(ISLANDS, ".refused"));
  await isClear();
  await viewer.type(setting(ISLANDS, '[type="number"]'), 20000);
  await viewer.untilText(setting(ISLANDS, ".refused"), /./);
  await viewer.click(card(DEPTH, ".reset"));
  await isClear();
});

test("the error against the truth is a picture and numbers", async () => {
  await viewer.look("error");
  assert.match(await viewer.untilText(card(DEPTH, '[data-name="median error"]'), /mm/), /\d+ mm/);
  const { left } = await viewer.picture();
  assert.ok(left.missing > 0 && left.missing < 0.5, "holes");
  assert.ok(Math.min(...left.mean) > 90, "small errors are pale");
  await viewer.screenshot("error");
});

test("the pixel under the pointer is told before and after the chain, and as it is", async () => {
  const canvas = await viewer.page.$(card(DEPTH, "canvas"));
  const box = await canvas.boundingBox();
  // Holes come and go, so another place is tried until one has all three.
  await viewer.until((selector) => document.querySelector(selector).dataset.frame, card(DEPTH, "canvas"));
  for (let i = 1; ; i = (i % 9) + 1) {
    await viewer.page.mouse.move(box.x + (box.width * i) / 10, box.y + box.height / 2);
    await viewer.untilText(card(DEPTH, ".readout"), /pixel.*before.*after.*truth/);
    const text = await viewer.page.$eval(card(DEPTH, ".readout"), (readout) => readout.textContent);
    if (/before [\d,]+ steps = [\d,]+ mmafter [\d,]+ mmtruth [\d,]+ mmerror [+−]?\d+ mm/.test(text)) break;
  }

  const column = () => viewer.page.$eval(card(DEPTH, ".readout"), ({ textContent }) => Number(textContent.match(/pixel (\d+)/)[1]));
  await canvas.focus();
  const start = await column();
  await viewer.page.keyboard.press("ArrowRight");
  await viewer.untilText(card(DEPTH, ".readout"), new RegExp(`pixel ${start + 1},`));
  await viewer.page.keyboard.down("Shift");
  await viewer.page.keyboard.press("ArrowRight");
  await viewer.page.keyboard.up("Shift");
  await viewer.untilText(card(DEPTH, ".readout"), new RegExp(`pixel ${start + 11},`));
  await viewer.screenshot("focus");
});

test("when the browser loses the graphics, the last picture stays and is drawn again later", async () => {
  const { identifier } = await viewer.page.evaluateOnNewDocument(() => {
    const { getContext } = HTMLCanvasElement.prototype;
    HTMLCanvasElement.prototype.getContext = function (kind, ...options) {
      const context = getContext.call(this, kind, ...options);
      if (kind === "webgl2") globalThis.graphics = context.getExtension("WEBGL_lose_context");
      return context;
    };
  });
  await viewer.page.reload();
  await viewer.page.removeScriptToEvaluateOnNewDocument(identifier);
  await viewer.page.waitForSelector(card(DEPTH, '[data-state="live"]'));
  await viewer.pause();
  const shown = await viewer.picture();
  await viewer.page.evaluate(() => globalThis.graphics.loseContext());
  await viewer.untilText(card(DEPTH, '[data-state="nothing"] .waiting'), /lost the graphics/);
  assert.deepEqual(await viewer.picture(), shown);
  await viewer.page.evaluate(() => globalThis.graphics.restoreContext());
  await viewer.page.waitForSelector(card(DEPTH, '[data-state="live"]'));
  assert.deepEqual(await viewer.picture(), shown);
});

test("hardware depth-to-colour changes the size, and a wrong parameter is refused", async () => {
  await viewer.click(card(DEPTH, ".d2c summary"));
  await viewer.type('.d2c [name="scale"]', 1.5);
  await viewer.click('.d2c [name="on"]');
  await viewer.untilText(card(DEPTH, ".facts"), /→ 480 × 300/);
  await viewer.untilText(card(DEPTH, ".arguments code"), /^--d2c scale=1.5,left=0,top=0,right=0,bottom=0,apply=1$/);
  await viewer.type('.d2c [name="scale"]', 99);
  assert.match(await viewer.untilText(".d2c .answer", /./), /scale/);
  await viewer.until(() => document.querySelector('.d2c [name="scale"]').value === "1.5");
  await viewer.click('.d2c [name="on"]');
  await viewer.untilText(card(DEPTH, ".facts"), /→ 320 × 200/);
});

test("the point cloud has points, which turn, in two kinds of colour", async () => {
  await viewer.look("cloud");
  await viewer.pause();
  const shown = ({ left, right }) => 2 - left.empty - right.empty;
  const first = await viewer.untilPicture((picture) => shown(picture) > 0.4);
  assert.match(await viewer.untilText(card(DEPTH, ".readout"), /points/), /about \d\d,000 points/);
  await viewer.screenshot("cloud-depth");
  await viewer.page.focus(card(DEPTH, "canvas"));
  for (let i = 0; i < 10; ++i) await viewer.page.keyboard.press("ArrowRight");
  await viewer.untilPicture((picture) => Math.abs(picture.left.empty - first.left.empty) > 0.05);
  await viewer.page.keyboard.press("Home");
  await viewer.untilPicture((picture) => Math.abs(picture.left.empty - first.left.empty) < 0.01);
  await viewer.page.select(card(DEPTH, ".tint select"), "colour");
  await viewer.untilPicture(({ left }) => distance(left, first.left) > 8);
  await viewer.screenshot("cloud-colour");
});

test("depth lies over colour as opaque as one wants", async () => {
  const opacity = card(DEPTH, ".opacity input");
  await viewer.look("over");
  await viewer.pause();
  await viewer.page.focus(opacity);
  await viewer.page.keyboard.press("Home");
  const colour = await viewer.picture(COLOUR);
  const over = await viewer.untilPicture(({ right }) => distance(right, colour.right) < 6);
  await viewer.page.keyboard.press("End");
  await viewer.untilPicture(({ right }) => distance(right, over.right) > 20);
  for (let i = 0; i < 4; ++i) await viewer.page.keyboard.press("PageDown");
  await viewer.screenshot("over-colour");
});

test("what one client sets, another sees", async () => {
  const other = await Viewer.open(chromium.browser, vycam.address);
  await viewer.page.bringToFront();
  const typed = await other.page.$(setting(MAX_DEPTH, '[type="number"]'));
  await typed.evaluate((input) => (input.value = "12")); // and not entered yet
  await viewer.type(setting(ISLANDS, '[type="number"]'), 321);
  await other.until((selector) => document.querySelector(selector).value === "321", setting(ISLANDS, '[type="number"]'));
  assert.match(await other.untilText(card(DEPTH, ".settings .changed"), /./), /1 changed/);
  assert.equal(await typed.evaluate((input) => input.value), "12");
  await other.page.close();
  assert.deepEqual(other.complaints, []);
});

test("a paused camera goes on by single frames", async () => {
  await viewer.untilText(card(DEPTH, '[data-name="frames/s"] dd'), /^[1-9]/);
  await viewer.pause();
  const still = await viewer.frameNumber();
  await viewer.nextFigures();
  assert.equal(await viewer.frameNumber(), still);
  await viewer.click(".step");
  await viewer.nextFrame(DEPTH, still);
  const stepped = await viewer.frameNumber();
  await viewer.nextFigures();
  await viewer.nextFigures();
  assert.equal(await viewer.frameNumber(), stepped, "one frame only");
  await viewer.click('[value="error"]'); // needs the truth, which was not watched so far
  await viewer.untilText(card(DEPTH, ".unit"), /too near/);
  assert.equal(await viewer.frameNumber(), stepped);
  await viewer.click(".pause");
  await viewer.nextFrame();
});

test("a call that fails on purpose shows what an application would get", async () => {
  await viewer.click("#fail summary");
  await viewer.page.select('#fail [name="function"]', "vy_filter_process");
  await viewer.page.select('#fail [name="kind"]', "error");
  await viewer.screenshot("fault-form");
  await viewer.type('#fail [name="nth"]', 1000001); // the server would end the connection
  await viewer.type('#fail [name="nth"]', 1);
  await viewer.untilText("#fail .answer", /Call 1 of vy_filter_process/);
  const failed = '.failed:not([hidden])';
  assert.match(await viewer.untilText(failed, /refused/), /1 frame refused\. The last error: .*vy_filter_process/);
  await viewer.screenshot("fault");
});

test("settings go to a file and back, and to arguments of vycam run", async () => {
  const folder = mkdtempSync(join(tmpdir(), "view-settings-"));
  const session = await viewer.page.createCDPSession();
  await session.send("Browser.setDownloadBehavior", { behavior: "allow", downloadPath: folder, eventsEnabled: true });
  const saved = new Promise((resolve) =>
    session.on("Browser.downloadProgress", ({ state }) => state === "completed" && resolve()));
  await viewer.type(setting(ISLANDS, '[type="number"]'), 450);
  await viewer.click(setting("FrameMirror#255", "input"));
  const text = "--set 'NoiseRemovalFilter#0=450' --set 'FrameMirror#255=1'";
  const code = card(DEPTH, ".arguments code");
  await viewer.until((where, wanted) => document.querySelector(where).textContent === wanted, code, text);
  await viewer.click(card(DEPTH, ".save"));
  await saved;
  const [name] = readdirSync(folder);
  assert.equal(name, "Corvid-depth.json");
  const { camera, sensor, values } = JSON.parse(readFileSync(join(folder, name), "utf8"));
  assert.deepEqual([camera, sensor, values[ISLANDS], values["FrameFlip#255"]], ["Corvid", "depth", "450", "0"]);

  await viewer.click(card(DEPTH, ".reset"));
  await viewer.until((where) => document.querySelector(where).textContent === "", code);
  const input = await viewer.page.$(card(DEPTH, ".load input"));
  await input.uploadFile(join(folder, name));
  await viewer.untilText(card(DEPTH, ".settings .answer"), /Loaded \d+ settings/);
  await viewer.until((where, wanted) => document.querySelector(where).textContent === wanted, code, text);

  const d2c = { on: true, scale: "1.5", left: 0, top: 0, right: 0, bottom: 0, apply: true };
  writeFileSync(join(folder, name), JSON.stringify({ values: { [ISLANDS]: "500" }, d2c }));
  await input.uploadFile(join(folder, name));
  await viewer.untilText(card(DEPTH, ".settings .answer"), /"d2c" must have numbers in scale/);
  assert.equal(await viewer.page.$eval(code, ({ textContent }) => textContent), text, "nothing was set");
  rmSync(folder, { recursive: true });
});

test("snapshots are files of the newest frame", async () => {
  const files = await viewer.page.$$eval(card(DEPTH, ".snapshots a"), (links) => Promise.all(links.map(async ({ href }) => {
    const answer = await fetch(href);
    const start = new TextDecoder("latin1").decode((await answer.arrayBuffer()).slice(0, 4));
    return [href.replace(/.*snapshot/, ""), answer.status, start];
  })));
  assert.deepEqual(files, [
    ["/0/picture.png", 200, "‰PNG"], ["/0/numbers.png", 200, "‰PNG"], ["/0/cloud.ply", 200, "ply\n"],
  ]);
});

test("arrow keys move the divider", async () => {
  await viewer.page.focus(setting(MAX_DEPTH, '[type="range"]'));
  await viewer.page.keyboard.press("Home"); // nothing is left after the chain
  await viewer.untilPicture(({ right }) => right.missing > 0.95);
  await viewer.page.focus(".divider");
  await viewer.page.keyboard.press("ArrowLeft");
  assert.equal(await viewer.page.$eval(".divider", ({ ariaValueNow }) => ariaValueNow), "48");
  await viewer.page.keyboard.press("Home");
  await viewer.untilPicture(({ left }) => left.missing > 0.95);
  await viewer.page.keyboard.press("End");
  await viewer.untilPicture(({ right }) => right.missing < 0.5);
  assert.equal(await viewer.page.$eval(".divider", ({ ariaValueText }) => ariaValueText), "100 % before, 0 % after");
});

test("only what can be seen is watched", async () => {
  const session = await viewer.page.createCDPSession();
  const watched = [];
  session.on("Network.webSocketFrameSent", ({ response }) => {
    const message = JSON.parse(response.payloadData);
    if (message.type === "watch") watched.push(message.streams);
  });
  await session.send("Network.enable");
  await viewer.page.setViewport({ width: 390, height: 500 });
  await viewer.page.reload();
  await viewer.page.waitForSelector(card(DEPTH, '[data-state="live"]'));
  assert.deepEqual(watched.at(-1), { [DEPTH]: ["after", "before"] });
  await viewer.page.$eval(card(INFRARED, "h3"), (heading) => heading.scrollIntoView());
  await viewer.page.waitForSelector(card(INFRARED, '[data-state="live"]'));
  assert.ok(!(DEPTH in watched.at(-1)));
});

test("the page fits 390 and 1,400 pixels, in light and dark, with texts that can be read", async () => {
  for (const width of [390, 1400]) {
    await viewer.page.setViewport({ width, height: width === 390 ? 844 : 900 });
    await viewer.page.reload(); // settings are folded on a phone
    await viewer.page.waitForSelector(card(DEPTH, ".figures div"));
    for (const theme of ["light", "dark"]) {
      await viewer.page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: theme }]);
      assert.ok(await viewer.page.evaluate(() => document.documentElement.scrollWidth <= innerWidth), `${width} scrolls`);
      assert.deepEqual(await viewer.page.evaluate(paleTexts), [], `${width} ${theme}`);
      await viewer.screenshot(`page-${width}-${theme}`, { fullPage: width === 390 });
    }
  }
  await viewer.page.select("#theme", "light"); // though the system has it dark
  assert.equal(await viewer.page.$eval("body", (body) => getComputedStyle(body).backgroundColor), "rgb(244, 244, 241)");
  await viewer.page.select("#theme", "");
});

test("every control has a name", async () => {
  const nodes = [await viewer.page.accessibility.snapshot()];
  for (const node of nodes) nodes.push(...(node.children ?? []));
  const controls = nodes.filter(({ role }) => ["button", "slider", "spinbutton", "switch", "checkbox", "combobox",
    "radio", "link", "image", "DisclosureTriangle"].includes(role));
  assert.ok(controls.length > 40, `${controls.length} controls`);
  assert.deepEqual(controls.filter(({ name }) => !name), []);
});

test("the palette is that of vycam's pictures", async () => {
  const source = readFileSync(join(process.env.PROJECT, "tools/vycam/ColourMap.cpp"), "utf8");
  const stops = source.match(/kWarmToCool\[\] = \{([^;]*)\};/)[1].match(/\d+/g).map(Number);
  assert.deepEqual(await viewer.page.evaluate(() => import("./palette.js").then((palette) => palette.WARM_TO_COOL.flat())), stops);
});

test("a lost server is told, and the page recovers with one connection", async () => {
  const session = await viewer.page.createCDPSession();
  const sockets = new Set();
  session.on("Network.webSocketCreated", ({ requestId }) => sockets.add(requestId));
  session.on("Network.webSocketClosed", ({ requestId }) => sockets.delete(requestId));
  await session.send("Network.enable");
  vycam.server.kill("SIGSTOP");
  await viewer.untilText("#banner:not([hidden]) p", /The connection to vycam is lost\. The server does not answer\./);
  await viewer.untilText("#link", /not connected/);
  await viewer.screenshot("lost");
  for (let i = 0; i < 3; ++i) await viewer.click("#banner button");
  vycam.server.kill("SIGCONT");
  await viewer.until(() => document.getElementById("banner").hidden);
  await viewer.untilText("#link", /live/);
  await viewer.nextFrame();
  assert.equal(sockets.size, 1);
});

// How far the mean colours of two halves of a picture are apart.
function distance(half, other) {
  return Math.max(...half.mean.map((part, i) => Math.abs(part - other.mean[i])));
}

// Texts whose contrast with their ground is below 4.5, except on pictures.
function paleTexts() {
  const light = (colour) => {
    const [r, g, b] = colour.match(/[\d.]+/g).slice(0, 3).map((part) => {
      const share = part / 255;
      return share <= 0.04045 ? share / 12.92 : ((share + 0.055) / 1.055) ** 2.4;
    });
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
  };
  const groundOf = (element) => {
    for (let at = element; at; at = at.parentElement) {
      const { backgroundColor } = getComputedStyle(at);
      if (!backgroundColor.endsWith(", 0)")) return backgroundColor;
    }
    return "rgb(255, 255, 255)";
  };
  return [...document.querySelectorAll("body *")].filter((element) => {
    const hasText = [...element.childNodes].some((node) => node.nodeType === Node.TEXT_NODE && node.data.trim());
    if (!hasText || !element.checkVisibility() || element.closest(".stage, :disabled")) return false;
    const [a, b] = [light(getComputedStyle(element).color), light(groundOf(element))];
    return (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05) < 4.5;
  }).map((element) => element.outerHTML.slice(0, 120));
}
