// The settings of a chain, one row each, made from the library's schema.
import { Refusal } from "./connection.js";

const MOST_SLIDER_STEPS = 100000;

export function clone(template) {
  return document.getElementById(template).content.firstElementChild.cloneNode(true);
}

export class Settings {
  values = new Map(); // as the server has them
  #stream;
  #request;
  #changed;
  #rows = new Map();
  #waiting = new Map(); // what was set here and is not sent yet
  #sending = null;
  #element;

  // request(message): a promise of the server's answer. changed(): some value is another now.
  constructor(element, stream, request, changed) {
    this.#element = element;
    this.#stream = stream;
    this.#request = request;
    this.#changed = changed;
    for (const setting of stream.settings) this.#addRow(setting);
    this.update(Object.fromEntries(stream.settings.map(({ key, value }) => [key, value])));
  }

  update(values) {
    for (const [key, value] of Object.entries(values)) {
      // A row whose value stays is left alone, as somebody may be typing in it.
      if (this.values.get(key) === value) continue;
      this.values.set(key, value);
      if (key !== this.#sending && !this.#waiting.has(key)) this.#rows.get(key)?.show(value);
    }
    this.#changed();
  }

  // Sends one value at a time, so that a refusal belongs to its setting. A later value replaces one that waits. The server
  // tells the values that hold before it answers.
  async set(key, value) {
    this.#waiting.set(key, value);
    if (this.#sending !== null) return;
    while (this.#waiting.size > 0) {
      const [[next, wanted]] = this.#waiting;
      this.#waiting.delete(next);
      this.#sending = next;
      const row = this.#rows.get(next);
      try {
        await this.#request({ type: "set", stream: this.#stream.id, values: { [next]: wanted } });
        row.refuse("");
      } catch (error) {
        row.refuse(error instanceof Refusal ? `${wanted} was refused: ${error.message}` : error.message);
      }
      this.#sending = null;
      if (!this.#waiting.has(next)) row.show(this.values.get(next));
      this.#changed();
    }
  }

  clearRefusals() {
    for (const row of this.#rows.values()) row.refuse("");
  }

  // The settings that differ from the start.
  differing() {
    return this.#stream.settings.filter(({ key, start }) => Number(this.values.get(key)) !== Number(start));
  }

  #addRow(setting) {
    const row = new Row(setting, (value) => this.set(setting.key, value));
    this.#rows.set(setting.key, row);
    let group = [...this.#element.children].find(({ name }) => name === setting.filter);
    if (!group) {
      group = document.createElement("fieldset");
      group.name = setting.filter;
      const title = document.createElement("legend");
      title.textContent = setting.filter;
      group.append(title);
      this.#element.append(group);
    }
    group.append(row.element);
  }
}

class Row {
  element = clone("setting");
  #setting;

  constructor(setting, set) {
    this.#setting = setting;
    const isSwitch = setting.type === "boolean";
    const [slider, number, box] = this.element.querySelectorAll("input");
    const stepCount = (setting.max - setting.min) / setting.step;
    const hasSlider = !isSwitch && stepCount > 0 && stepCount <= MOST_SLIDER_STEPS;
    for (const [input, isUsed] of [[slider, hasSlider], [number, !isSwitch], [box, isSwitch]]) {
      if (!isUsed) input.remove();
    }
    const id = `setting-${crypto.getRandomValues(new Uint32Array(1))[0]}`;
    this.element.dataset.key = setting.key;
    const label = this.#part(".what");
    label.textContent = setting.description;
    label.htmlFor = id;
    (isSwitch ? box : number).id = id;
    const hint = this.#part(".hint");
    hint.id = `${id}-hint`;
    const step = Number(setting.step) === 1 ? "" : `, step ${Number(setting.step)}`;
    hint.textContent = isSwitch ? setting.key : `${setting.key}: ${Number(setting.min)} to ${Number(setting.max)}${step}`;
    this.element.classList.toggle("brief", isSwitch);
    for (const input of this.element.querySelectorAll("input")) input.setAttribute("aria-describedby", hint.id);

    slider.ariaLabel = setting.description;
    for (const input of [slider, number]) {
      Object.assign(input, { min: setting.min, max: setting.max, step: setting.step });
    }
    slider.addEventListener("input", () => {
      number.value = slider.value;
      set(slider.value);
    });
    // What the range does not allow is sent as well: the host decides, and its answer is worth seeing.
    number.addEventListener("change", () => (number.value === "" ? this.show(this.shown) : set(number.value)));
    box.addEventListener("change", () => set(box.checked ? "1" : "0"));
    const back = this.#part(".back");
    back.textContent = `\u21ba ${isSwitch ? (setting.start === "1" ? "on" : "off") : Number(setting.start)}`;
    back.ariaLabel = `${setting.description}: back to ${setting.start}`;
    back.addEventListener("click", () => {
      this.element.querySelector("input").focus(); // the button hides itself
      set(setting.start);
    });
  }

  show(value) {
    this.shown = value;
    for (const input of this.element.querySelectorAll("input")) {
      if (input.type === "checkbox") input.checked = value === "1";
      else input.value = Number(value);
    }
    this.#part(".back").hidden = Number(value) === Number(this.#setting.start);
  }

  refuse(text) {
    const line = this.#part(".refused");
    line.textContent = text;
    line.hidden = text === "";
  }

  #part(selector) {
    return this.element.querySelector(selector);
  }
}
