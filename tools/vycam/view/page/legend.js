// The scale below a picture: colours, round numbers, unit, and both ends, which follow the picture or are typed.
import { css, gradient, ticks } from "./palette.js";
import { steady } from "./range.js";

const REFIT_MILLISECONDS = 300;
const TICK_DISTANCE = 50; // pixels, for a number of four digits

export class Legend {
  #element;
  #ranges = new Map(); // of each kind of scale: {range, isFitted, fittedAt}
  #kind = "";
  #shown = "";

  constructor(element, changed) {
    this.#element = element;
    const [low, high] = [this.#part("low"), this.#part("high")];
    for (const input of [low, high]) {
      input.addEventListener("change", () => {
        const range = { low: Number(low.value), high: Number(high.value) };
        if (low.value !== "" && high.value !== "" && range.low < range.high) {
          Object.assign(this.#kept(), { range, isFitted: false });
        }
        this.#showEnds();
        changed();
      });
    }
    this.#fit.addEventListener("change", () => {
      Object.assign(this.#kept(), { isFitted: this.#fit.checked, fittedAt: -Infinity });
      changed();
    });
  }

  // The range for pictures of that kind; `measure` finds it in the picture.
  rangeOf(kind, measure) {
    this.#kind = kind;
    const kept = this.#kept();
    const now = performance.now();
    if (kept.isFitted && now - kept.fittedAt > REFIT_MILLISECONDS) {
      kept.range = steady(kept.range, measure());
      kept.fittedAt = now;
    }
    return kept.range;
  }

  hide() {
    this.#element.hidden = true;
  }

  // swatches: [colour, text] of what is not on the scale.
  show({ stops, unit, swatches }) {
    this.#element.hidden = false;
    const { range } = this.#kept();
    const mostTicks = Math.max(2, Math.floor(this.#part("ramp").clientWidth / TICK_DISTANCE));
    const wanted = JSON.stringify([this.#kind, range, unit, swatches, this.#fit.checked, mostTicks]);
    if (wanted === this.#shown) return;
    this.#shown = wanted;
    this.#part("ramp").style.backgroundImage = gradient(stops);
    this.#part("unit").textContent = unit;
    this.#showEnds();
    this.#part("ticks").replaceChildren(...ticks(range.low, range.high, mostTicks).map((tick) => {
      const mark = document.createElement("span");
      mark.textContent = tick.toLocaleString("en");
      mark.style.left = `${(100 * (tick - range.low)) / (range.high - range.low)}%`;
      return mark;
    }));
    this.#part("swatches").replaceChildren(...swatches.map(([colour, text]) => {
      const swatch = document.createElement("span");
      const patch = document.createElement("i");
      patch.style.backgroundColor = css(colour);
      swatch.append(patch, text);
      return swatch;
    }));
  }

  #showEnds() {
    const { range, isFitted } = this.#kept();
    for (const end of ["low", "high"]) {
      const input = this.#part(end);
      if (input !== document.activeElement || isFitted) input.value = Math.round(range[end]);
    }
    this.#fit.checked = isFitted;
  }

  #kept() {
    if (!this.#ranges.has(this.#kind)) {
      this.#ranges.set(this.#kind, { range: { low: 0, high: 1 }, isFitted: true, fittedAt: -Infinity });
    }
    return this.#ranges.get(this.#kind);
  }

  get #fit() {
    return this.#element.querySelector(".fit input");
  }

  #part(name) {
    return this.#element.querySelector(`.${name}`);
  }
}
