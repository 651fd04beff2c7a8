// Starts `vycam view` and a browser, and looks at the page as somebody in front of it would: by what is shown.
import { spawn } from "node:child_process";
import { mkdirSync, mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { createInterface } from "node:readline";
import puppeteer from "puppeteer-core";

const PATIENCE = 20000; // milliseconds, for what should take less than one
const SHOTS = process.env.VIEW_SCREENSHOTS ?? "screenshots";

// Pictures are drawn without a GPU here: a quarter of the pixels is enough.
const COARSE = { width: 1400, height: 900, deviceScaleFactor: 0.5 };

export const DEPTH = 0;
export const COLOUR = 1;

// Starts the server. Gives its address, and the process to stop it.
export async function serve(...options) {
  const server = spawn(process.env.VYCAM ?? "vycam", ["view", ...options], { stdio: ["ignore", "pipe", "inherit"] });
  for await (const line of createInterface(server.stdout)) {
    const address = line.match(/http:\S+/);
    if (address) return { server, address: address[0] };
  }
  throw new Error("vycam view has ended without an address");
}

export async function openBrowser() {
  const profile = mkdtempSync(join(tmpdir(), "view-browser-"));
  const browser = await puppeteer.launch({
    executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
    userDataDir: profile,
    args: [
      "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-sync",
      "--disable-background-networking", "--disable-component-update",
      "--use-gl=angle", "--use-angle=swiftshader", "--enable-unsafe-swiftshader",
    ],
  });
  const close = async () => {
    await browser.close();
    rmSync(profile, { recursive: true, force: true, maxRetries: 5 });
  };
  return { browser, close };
}

/// One page of the viewer. `complaints` are errors that the browser has reported, breaches of the content policy included.
export class Viewer {
  complaints = [];

  static async open(browser, address) {
    const viewer = new Viewer();
    viewer.page = await browser.newPage();
    viewer.page.setDefaultTimeout(PATIENCE);
    viewer.page.on("console", (message) => {
      if (message.type() === "error") viewer.complaints.push(message.text());
    });
    viewer.page.on("pageerror", (error) => viewer.complaints.push(error.stack));
    await viewer.page.setViewport(COARSE);
    viewer.answer = await viewer.page.goto(address);
    await viewer.page.waitForSelector(card(DEPTH, '[data-state="live"]'));
    return viewer;
  }

  // Undoes what a test has done.
  async reset() {
    await this.page.bringToFront();
    await this.page.setViewport(COARSE);
    await this.page.emulateMediaFeatures([]);
    await this.page.evaluate(() => {
      scrollTo(0, 0);
      for (const button of document.querySelectorAll('.reset, .pause[aria-pressed="true"], .d2c [name="on"]:checked')) {
        button.click();
      }
      for (const mode of document.querySelectorAll('[value="compare"]')) mode.click();
    });
    await this.until(() => [...document.querySelectorAll(".changed")].every((count) => count.textContent === ""));
    await this.page.waitForSelector(card(DEPTH, '[data-state="live"][data-mode="compare"]'));
    await this.nextFrame();
  }

  // Waits until a function of the page gives something true, and gives that.
  async until(condition, ...values) {
    const handle = await this.page.waitForFunction(condition, { polling: 50 }, ...values);
    return handle.jsonValue();
  }

  // Waits until the text of an element matches.
  untilText(selector, pattern) {
    return this.until((where, source) => {
      const text = document.querySelector(where)?.textContent ?? "";
      return new RegExp(source).test(text) && text;
    }, selector, pattern.source);
  }

  click(selector) {
    return this.page.$eval(selector, (element) => element.click());
  }

  async type(selector, text) {
    await this.page.$eval(selector, (input) => input.select());
    await this.page.type(selector, `${text}\n`);
  }

  // A camera that is paused shows the same picture again.
  async pause() {
    await this.click(".pause");
    await this.page.waitForSelector('.pause[aria-pressed="true"]');
    await this.untilText(card(DEPTH, '[data-name="frames/s"] dd'), /^0\.0$/);
  }

  async look(mode) {
    await this.click(`[value="${mode}"]`);
    await this.page.waitForSelector(`.look[data-mode="${mode}"][data-state="live"]`);
    await this.nextFrame();
  }

  frameNumber(stream = DEPTH) {
    return this.page.$eval(card(stream, "canvas"), (canvas) => Number(canvas.dataset.frame));
  }

  // Waits until a frame later than `number` is on the canvas; later than the one that is there now without it.
  async nextFrame(stream = DEPTH, number = undefined) {
    const last = number ?? (await this.frameNumber(stream));
    const isLater = (selector, than) => Number(document.querySelector(selector).dataset.frame) > than;
    await this.until(isLater, card(stream, "canvas"), last);
  }

  // Waits until the server has told newer figures, which it does twice a second.
  async nextFigures() {
    const figure = await this.page.$(card(DEPTH, ".figures div"));
    await this.until((old) => !old.isConnected, figure);
  }

  // Waits until the picture is as `isRight`, a function of what picture() gives, wants it.
  async untilPicture(isRight, stream = DEPTH) {
    for (const end = Date.now() + PATIENCE; ; ) {
      await this.page.evaluate(() => new Promise(requestAnimationFrame));
      const picture = await this.picture(stream);
      if (isRight(picture)) return picture;
      if (Date.now() > end) throw new Error(`the picture stays ${JSON.stringify(picture)}`);
    }
  }

  // Of the halves of a canvas: the share of pixels without measurement, without anything drawn, and the mean colour.
  picture(stream = DEPTH) {
    return this.page.$eval(card(stream, "canvas"), (canvas) => {
      const copy = new OffscreenCanvas(160, 100).getContext("2d", { willReadFrequently: true });
      copy.imageSmoothingEnabled = false;
      copy.drawImage(canvas, 0, 0, 160, 100);
      const half = (from) => {
        const { data } = copy.getImageData(from, 0, 80, 100);
        let [missing, empty] = [0, 0];
        const sum = [0, 0, 0];
        for (let i = 0; i < data.length; i += 4) {
          if (data[i + 3] === 0) ++empty;
          else if (data[i] === 34 && data[i + 1] === 34 && data[i + 2] === 38) ++missing;
          for (let colour = 0; colour < 3; ++colour) sum[colour] += data[i + colour];
        }
        const count = data.length / 4;
        return { missing: missing / count, empty: empty / count, mean: sum.map((total) => Math.round(total / count)) };
      };
      return { left: half(0), right: half(80) };
    });
  }

  async screenshot(name, options = {}) {
    mkdirSync(SHOTS, { recursive: true });
    const viewport = this.page.viewport();
    await this.page.setViewport({ ...viewport, deviceScaleFactor: 1 });
    await this.until((selector) => {
      const canvas = document.querySelector(selector);
      canvas.dispatchEvent(new Event("blur")); // draws again; a resolution that is only emulated tells nobody
      return canvas.width === Math.round(canvas.parentElement.clientWidth * devicePixelRatio);
    }, card(DEPTH, "canvas"));
    await this.page.screenshot({ path: join(SHOTS, `${name}.png`), ...options });
    await this.page.setViewport(viewport);
  }
}

// The selector of something in the card of a stream.
export function card(stream, selector) {
  return `[data-stream="${stream}"] ${selector}`;
}

export function setting(key, selector) {
  return card(DEPTH, `[data-key="${key}"] ${selector}`);
}
