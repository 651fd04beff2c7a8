// The card of one stream: picture, figures, chain, settings.
import { Chain } from "./chain.js";
import { HardwareD2C } from "./d2c.js";
import { asArguments, loadFile, saveFile } from "./exchange.js";
import { Pixel } from "./frames.js";
import { Settings, clone } from "./settings.js";
import { MODES, Stage } from "./stage.js";

const TITLES = {
  depth: "Depth", color: "Colour", ir: "Infrared", "ir-left": "Left infrared", "ir-right": "Right infrared",
};
const MEANINGS = {
  [Pixel.depth]: "depth in mm", [Pixel.disparity]: "disparity", [Pixel.brightness]: "brightness",
  [Pixel.brightness8]: "brightness", [Pixel.colour]: "colour",
};

export class StreamCard {
  element = clone("stream");
  isVisible = false;
  stream;
  stage;
  #settings;
  #chain;
  #d2c = null;
  #page;
  #drawn = []; // when a new frame was, in the last two seconds
  #number; // of the frame that was drawn last
  #facts = "";

  // page: surface, newest, request, and changed(card): the card has to be drawn anew.
  constructor(camera, stream, page) {
    this.stream = stream;
    this.#page = page;
    const title = TITLES[stream.sensor] ?? `Sensor ${stream.sensor}`;
    const heading = this.#part("h3");
    heading.textContent = title;
    heading.id = `stream-${stream.id}`;
    Object.assign(this.element.dataset, { stream: stream.id, kind: stream.kind });
    this.element.setAttribute("aria-labelledby", heading.id);
    this.#addModes();
    this.stage = new Stage(this.#part(".look"), stream, page, () => page.changed(this));
    this.#settings = new Settings(this.#part(".filters"), stream, page.request, () => this.#showSettings());
    this.#chain = new Chain(this.#part(".chain"), stream, (key, value) => this.#settings.set(key, value));
    this.#part(".settings").hidden = stream.settings.length === 0;
    this.#part(".settings").open = stream.kind === "depth" && matchMedia("(min-width: 700px)").matches;
    if (stream.d2c) this.#d2c = new HardwareD2C(this.#part(".d2c form"), stream, page.request);
    else this.#part(".d2c").remove();
    this.#addTools(camera);
    this.#addSnapshots(title);
    this.#showSettings();
  }

  update({ values, d2c }) {
    if (d2c) this.#d2c?.show(d2c);
    this.#settings.update(values);
  }

  // What was refused before all values came anew says nothing about them.
  clearRefusals() {
    this.#settings.clearRefusals();
    for (const answer of this.element.querySelectorAll(".answer")) answer.textContent = "";
  }

  draw() {
    const frame = this.stage.draw();
    if (!frame) return;
    const { after } = frame.planes;
    if (frame.number !== this.#number) this.#drawn.push(performance.now());
    this.#number = frame.number;
    const facts = `${this.stream.width} × ${this.stream.height}, ${this.stream.format} \u2192 ` +
      `${after.width} × ${after.height}, ${MEANINGS[after.pixel]}`;
    if (facts !== this.#facts) this.#part(".facts").textContent = this.#facts = facts;
  }

  showStats(stats) {
    const now = performance.now();
    this.#drawn = this.#drawn.filter((time) => now - time < 2000);
    const shown = this.#drawn.length / 2;
    const { camera, chain, library } = stats.milliseconds;
    const figures = [
      ["frames/s", stats.rate.toFixed(1)], ["shown/s", shown.toFixed(1)], ["lost", stats.lost], ["dropped", stats.dropped],
      ["camera", `${camera.toFixed(1)} ms`], ["chain", `${chain.toFixed(1)} ms`], ["library", `${library.toFixed(2)} ms`],
    ];
    this.#showFigures(".figures", figures);
    if (this.stream.kind === "depth") this.#showFigures(".errors", errorFigures(stats.error));
    this.#chain.showTimes(stats.milliseconds.filters);
    const failed = this.#part(".failed");
    failed.hidden = !stats.failed;
    const text = `${stats.failed} ${stats.failed === 1 ? "frame" : "frames"} refused. The last error: ${stats.lastError}`;
    if (stats.failed && failed.textContent !== text) failed.textContent = text;
  }

  #showFigures(list, figures) {
    this.#part(list).replaceChildren(...figures.map(([name, value]) => {
      const pair = document.createElement("div");
      const [term, detail] = [document.createElement("dt"), document.createElement("dd")];
      term.textContent = name;
      detail.textContent = value;
      pair.dataset.name = name;
      pair.append(term, detail);
      return pair;
    }));
  }

  #addModes() {
    const modes = this.#part(".modes");
    if (this.stream.kind !== "depth") {
      modes.remove();
      return;
    }
    for (const [mode, name] of Object.entries(MODES)) {
      const label = document.createElement("label");
      const input = document.createElement("input");
      Object.assign(input, { type: "radio", name: `mode-${this.stream.id}`, value: mode, checked: mode === "compare" });
      if (mode === "over" && !this.stream.toColour) {
        input.disabled = true;
        label.title = "takes a colour stream of the same camera";
      }
      input.addEventListener("change", () => this.stage.setMode(mode));
      label.append(input, name);
      modes.append(label);
    }
  }

  #addTools(camera) {
    const answer = this.#part(".settings .answer");
    const tell = async (what) => {
      answer.textContent = "";
      try {
        const said = await what;
        this.clearRefusals();
        answer.textContent = said ?? "";
      } catch (error) {
        answer.textContent = error.message;
      }
    };
    this.#part(".reset").addEventListener("click", () =>
      tell(this.#page.request({ type: "reset", stream: this.stream.id })));
    this.#part(".save").addEventListener("click", () =>
      saveFile(camera, this.stream, this.#settings, this.#d2c?.current));
    const input = this.#part(".load input");
    input.addEventListener("change", () => {
      const [file] = input.files;
      if (file) tell(loadFile(file, this.stream, this.#settings, this.#page.request));
      input.value = "";
    });
    const code = this.#part(".arguments code");
    this.#part(".arguments button").addEventListener("click", async ({ target }) => {
      getSelection().selectAllChildren(code); // for Ctrl-C, where the browser denies the clipboard
      try {
        await navigator.clipboard.writeText(code.textContent);
      } catch {
        answer.textContent = "The browser denies the clipboard. Press Ctrl-C to copy what is selected.";
        return;
      }
      target.textContent = "Copied";
      setTimeout(() => (target.textContent = "Copy"), 1500);
    });
  }

  #addSnapshots(title) {
    const folder = `snapshot/${this.stream.id}`;
    const files = { picture: "picture.png", numbers: "numbers.png", cloud: "cloud.ply" };
    for (const [name, file] of Object.entries(files)) {
      const link = this.#part(`.snapshots .${name}`);
      link.href = `${folder}/${file}`;
      link.ariaLabel = `${title}: ${link.textContent} of the newest frame`;
    }
    if (this.stream.kind === "colour") this.#part(".snapshots .numbers").remove();
    if (this.stream.kind !== "depth") this.#part(".snapshots .cloud").remove();
  }

  #showSettings() {
    if (!this.#chain) return;
    this.#chain.show(this.#settings.values);
    const count = this.#settings.differing().length;
    this.#part(".settings .changed").textContent = count === 0 ? "" : `${count} changed`;
    if (this.#d2c) this.#part(".d2c .changed").textContent = this.#d2c.current.on ? "on" : "";
    const text = asArguments(this.#settings, this.#d2c?.current);
    this.#part(".arguments").hidden = text === "";
    this.#part(".arguments code").textContent = text;
  }

  #part(selector) {
    return this.element.querySelector(selector);
  }
}

function errorFigures(error) {
  const percent = (share) => `${(100 * share).toFixed(1)} %`;
  const length = (number) => (number === null ? "\u2013" : `${number} mm`);
  if (!error) return [["error", "\u2013"]];
  return [
    ["median error", length(error.median)], ["95 % within", length(error.p95)], ["valid", percent(error.valid)],
    ["of the scene", percent(error.ofScene)],
  ];
}
