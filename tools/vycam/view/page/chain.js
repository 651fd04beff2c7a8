// The filters of a chain as a row of boxes, each with its switch and the time it takes.
import { clone } from "./settings.js";

export class Chain {
  #boxes = [];

  // set(key, value): switches a filter.
  constructor(list, stream, set) {
    for (const filter of stream.chain) {
      const box = clone("box");
      box.querySelector("b").textContent = filter.name;
      box.querySelector("small").textContent = filter.wraps ? `wraps ${filter.wraps}` : filter.arguments.join(", ");
      const label = box.querySelector("label");
      const input = label.querySelector("input");
      if (filter.switch) {
        label.querySelector("span").textContent = filter.name;
        input.addEventListener("change", () => set(filter.switch, input.checked ? "1" : "0"));
      } else {
        label.remove();
      }
      list.append(box);
      this.#boxes.push({ filter, box, input });
    }
  }

  show(values) {
    for (const { filter, box, input } of this.#boxes) {
      const isOn = !filter.switch || values.get(filter.switch) === "1";
      input.checked = isOn;
      box.classList.toggle("off", !isOn);
    }
  }

  // times: milliseconds by the host's name of the filter.
  showTimes(times) {
    for (const { filter, box } of this.#boxes) {
      const time = times[filter.wraps ?? filter.name];
      box.querySelector(".time").textContent = time === undefined ? "" : `${time.toFixed(2)} ms`;
    }
  }
}
