// The picture of a stream: draws what the chosen view needs, and says which planes that takes.
import { Divider } from "./divider.js";
import { Pixel } from "./frames.js";
import { Legend } from "./legend.js";
import { Orbit } from "./orbit.js";
import { fit, paint, stopsFor } from "./painter.js";
import { GREY, HOLE, NEAR_TO_FAR, NOTHING, NO_MEASUREMENT } from "./palette.js";
import { colourView, drawPoints, hasPoints } from "./points.js";
import { brightnessRange, depthRange, errorRange, measuredShare } from "./range.js";
import { placeBeside, valuesAt } from "./readout.js";

const LARGEST_SIDE = 1920;
const FAR_STEP = 10; // pixels, with Shift
export const MODES = { compare: "Before / after", error: "Error", over: "Over colour", cloud: "Points" };
const ROLES_OF = { compare: ["before", "after"], error: ["after", "truth"], over: ["after"], cloud: ["after"] };
const MISSING = [NO_MEASUREMENT, "no measurement"];

export class Stage {
  mode = "compare";
  #element;
  #stream;
  #page;
  #canvas;
  #context;
  #divider;
  #legend;
  #orbit;
  #probe = null; // the place under the pointer, in shares of the picture
  #changed;

  // page: {surface, newest: frame of a stream, and nearest: that at a time}. changed(): there is something to draw, or to watch, anew.
  constructor(element, stream, page, changed) {
    this.#element = element;
    this.#stream = stream;
    this.#page = page;
    this.#changed = changed;
    this.#canvas = element.querySelector("canvas");
    this.#context = this.#canvas.getContext("2d");
    this.#canvas.parentElement.style.aspectRatio = `${stream.width} / ${stream.height}`;
    this.#divider = new Divider(element.querySelector(".divider"), changed);
    this.#legend = new Legend(element.querySelector(".legend"), changed);
    this.#orbit = new Orbit(this.#canvas, () => this.mode === "cloud", changed);
    element.querySelector(".home").addEventListener("click", () => {
      this.#orbit.reset();
      changed();
    });
    for (const input of element.querySelectorAll(".extras :is(input, select)")) {
      input.addEventListener("input", changed);
    }
    if (!stream.toColour) element.querySelector('option[value="colour"]').disabled = true;
    this.#followPointer();
    new ResizeObserver(changed).observe(this.#canvas.parentElement);
    this.setMode("compare");
  }

  setMode(mode) {
    this.mode = mode;
    this.#element.dataset.mode = mode;
    this.#canvas.ariaLabel = `${this.#stream.sensor}: ${MODES[mode]}`;
    this.#changed();
  }

  // What must be watched: {stream: [roles]}.
  wanted() {
    const roles = new Set(ROLES_OF[this.mode]);
    if (this.#probe && this.mode === "compare" && this.#stream.kind === "depth") roles.add("truth");
    const streams = { [this.#stream.id]: [...roles] };
    if (this.#needsColour()) streams[this.#stream.toColour.stream] = ["after"];
    return streams;
  }

  // Gives the frame that is shown now, or nothing if none could be drawn.
  draw() {
    if (this.#page.surface.isLost) {
      this.#say("The browser has lost the graphics. The picture goes on when it has them again.");
      return undefined;
    }
    const frame = this.#newestWithColour();
    // After a change of the view, the newest frame may still be one for the former.
    if (!frame || !ROLES_OF[this.mode].every((role) => frame.planes[role])) return undefined;
    const box = this.#canvas.parentElement;
    const scale = Math.min(devicePixelRatio, LARGEST_SIDE / Math.max(box.clientWidth, 1));
    const [width, height] = [Math.round(box.clientWidth * scale), Math.round(box.clientHeight * scale)];
    if (width === 0 || height === 0) return undefined;
    if (this.#canvas.width !== width || this.#canvas.height !== height) {
      Object.assign(this.#canvas, { width, height });
    }
    this.#context.clearRect(0, 0, width, height);
    this.#element.dataset.state = "live";
    const area = { x: 0, y: 0, width, height };
    const drawing = { compare: this.#drawBoth, error: this.#drawError, over: this.#drawOver, cloud: this.#drawCloud };
    drawing[this.mode].call(this, frame.planes, area, frame.microseconds);
    this.#canvas.dataset.frame = frame.number;
    this.#showValues(frame, width, height);
    return frame;
  }

  #drawBoth({ before, after }, area) {
    const range = this.#rangeOf(after);
    this.#page.surface.begin(area.width, area.height);
    const { share } = this.#divider;
    if (before && share > 0) this.#paint("before", before, area, { range, part: [0, share] });
    if (share < 1) this.#paint("after", after, area, { range, part: [share, 1] });
    this.#page.surface.end(this.#context, area);
  }

  #drawError({ after, truth }, area) {
    if (after.pixel !== Pixel.depth || truth.width !== after.width || truth.height !== after.height) {
      this.#say("There is no error to show while the output is no depth.");
      return;
    }
    const range = this.#legend.rangeOf("error", () => errorRange(after, truth));
    const swatches = [[HOLE, "hole"], [NOTHING, "nothing in range"]];
    this.#legend.show({ stops: NEAR_TO_FAR, unit: "mm too near (−), too far (+)", swatches });
    this.#page.surface.begin(area.width, area.height);
    this.#paint("after", after, area, { range, error: truth });
    this.#page.surface.end(this.#context, area);
  }

  #drawOver({ after }, area, time) {
    const { surface } = this.#page;
    const colour = this.#colourPlane(time);
    if (!colour || !hasPoints(after) || !(colour.lens[0] > 0)) {
      this.#say("Waiting for depth with a lens and for the colour camera.");
      return;
    }
    const range = this.#rangeOf(after);
    const shown = fit(colour, area.width, area.height);
    surface.begin(shown.width, shown.height);
    paint(surface, this.#nameOf(this.#stream.toColour.stream, "after"), colour, this.#stream, shown);
    surface.end(this.#context, shown);
    surface.begin(shown.width, shown.height);
    const stride = 1;
    const pointSize = (stride / after.lens[0]) * colour.lens[0] * (shown.width / colour.width);
    const view = colourView(this.#stream.toColour, colour);
    drawPoints(surface, this.#nameOf(this.#stream.id, "after"), after, this.#stream, { view, range, stride, pointSize });
    surface.end(this.#context, shown, this.#input("opacity").value / 100);
  }

  #drawCloud({ after }, area, time) {
    const { surface } = this.#page;
    if (!hasPoints(after)) {
      this.#say("These frames have no lens, so there are no points.");
      return;
    }
    const range = this.#rangeOf(after);
    const stride = Number(this.#input("stride").value);
    const view = this.#orbit.view((range.low + range.high) / 2, area.width / area.height, after.lens, after.height);
    const plane = this.#needsColour() ? this.#colourPlane(time) : null;
    const { toColour } = this.#stream;
    const colour = plane && { plane, toColour, name: this.#nameOf(toColour.stream, "after") };
    if (colour) this.#legend.hide();
    const pointSize = (stride / after.lens[0]) * this.#orbit.focal(area.height);
    surface.begin(area.width, area.height);
    drawPoints(surface, this.#nameOf(this.#stream.id, "after"), after, this.#stream, { view, range, stride, pointSize, colour });
    surface.end(this.#context, area);
    const count = ((after.width * after.height) / stride ** 2) * measuredShare(after);
    const number = count.toLocaleString("en", { maximumSignificantDigits: 2 });
    this.#tell([["about", `${number} points`], ["turn", "drag or arrow keys"], ["zoom", "wheel, pinch, + or \u2212"]]);
  }

  #paint(role, plane, { width, height }, options) {
    const name = this.#nameOf(this.#stream.id, role);
    paint(this.#page.surface, name, plane, this.#stream, { width, height, ...options });
  }

  #rangeOf(plane) {
    if (plane.pixel === Pixel.colour) {
      this.#legend.hide();
      return null;
    }
    const isGrey = stopsFor(plane) === GREY;
    const range = isGrey
      ? this.#legend.rangeOf("brightness", () => brightnessRange(plane))
      : this.#legend.rangeOf("depth", () => depthRange(plane, this.#stream));
    this.#legend.show({ stops: stopsFor(plane), unit: isGrey ? "brightness" : "mm", swatches: isGrey ? [] : [MISSING] });
    return range;
  }

  #showValues(frame, width, height) {
    if (this.mode === "cloud") return;
    const hasValues = this.#probe && this.mode !== "over";
    this.#tell(hasValues ? valuesAt(frame, this.#stream, this.#probe, width, height) : []);
  }

  // Shows pairs of a name and a value below the picture.
  #tell(values) {
    this.#element.querySelector(".readout").replaceChildren(...values.map(([name, value]) => {
      const pair = document.createElement("span");
      const what = document.createElement("small");
      what.textContent = name;
      pair.append(what, ` ${value}`);
      return pair;
    }));
  }

  #say(text) {
    this.#legend.hide();
    this.#element.querySelector(".waiting").textContent = text;
    this.#element.dataset.state = "nothing";
  }

  #followPointer() {
    const canvas = this.#canvas;
    const readout = this.#element.querySelector(".readout");
    // The numbers change with each frame: they are read aloud only while keys move the place.
    const probe = (place, live = "off") => {
      this.#probe = place;
      readout.ariaLive = live;
      this.#changed();
    };
    for (const moved of ["pointermove", "pointerdown"]) {
      canvas.parentElement.addEventListener(moved, (event) => {
        const box = canvas.getBoundingClientRect();
        probe({ x: (event.clientX - box.left) / box.width, y: (event.clientY - box.top) / box.height });
      });
    }
    canvas.parentElement.addEventListener("pointerleave", (event) => {
      if (event.pointerType !== "touch") probe(null); // a finger hides what it points at until it is lifted
    });
    canvas.addEventListener("blur", () => probe(null));
    canvas.addEventListener("keyup", () => (readout.ariaLive = "off"));
    const steps = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };
    canvas.addEventListener("keydown", (event) => {
      const plane = this.#page.newest(this.#stream.id)?.planes.after;
      if (!plane || !steps[event.key] || this.mode === "cloud" || event.ctrlKey || event.metaKey || event.altKey) return;
      event.preventDefault();
      const step = steps[event.key].map((direction) => direction * (event.shiftKey ? FAR_STEP : 1));
      probe(placeBeside(plane, this.#probe ?? { x: 0.5, y: 0.5 }, step, canvas.width, canvas.height), "polite");
    });
  }

  #needsColour() {
    if (!this.#stream.toColour) return false;
    return this.mode === "over" || (this.mode === "cloud" && this.#input("tint").value === "colour");
  }

  // The newest frame, or with a colour camera the newest that both have: what moves is elsewhere in the next frame.
  #newestWithColour() {
    const newest = this.#page.newest(this.#stream.id);
    const colour = this.#needsColour() ? this.#page.newest(this.#stream.toColour.stream) : null;
    if (!newest || !colour) return newest;
    return this.#page.nearest(this.#stream.id, Math.min(newest.microseconds, colour.microseconds));
  }

  #colourPlane(time) {
    return this.#page.nearest(this.#stream.toColour.stream, time)?.planes.after;
  }

  #nameOf(stream, role) {
    return `${stream}/${role}`;
  }

  #input(name) {
    return this.#element.querySelector(`.${name} :is(input, select)`);
  }
}
