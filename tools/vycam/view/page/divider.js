// The line between before and after, moved by pointer, touch or arrow keys.

const KEYS = { ArrowLeft: -2, ArrowDown: -2, ArrowRight: 2, ArrowUp: 2, PageDown: -10, PageUp: 10, Home: -100, End: 100 };

export class Divider {
  share = 0.5; // of the width that shows "before"
  #element;
  #moved;

  constructor(element, moved) {
    this.#element = element;
    this.#moved = moved;
    element.addEventListener("pointerdown", (event) => {
      element.setPointerCapture(event.pointerId);
      event.preventDefault();
      element.focus();
    });
    element.addEventListener("pointermove", (event) => {
      if (!element.hasPointerCapture(event.pointerId)) return;
      const { left, width } = element.parentElement.getBoundingClientRect();
      this.#moveTo((event.clientX - left) / width);
    });
    element.addEventListener("keydown", (event) => {
      if (!KEYS[event.key] || event.ctrlKey || event.metaKey || event.altKey) return;
      event.preventDefault();
      this.#moveTo(this.share + KEYS[event.key] / 100);
    });
    this.#show();
  }

  #moveTo(share) {
    this.share = Math.min(Math.max(share, 0), 1);
    this.#show();
    this.#moved();
  }

  #show() {
    const percent = Math.round(this.share * 100);
    this.#element.style.left = `${100 * this.share}%`;
    this.#element.ariaValueNow = percent;
    this.#element.ariaValueText = `${percent} % before, ${100 - percent} % after`;
  }
}
