// The parameters of hardware depth-to-colour.

export const NUMBERS = ["scale", "left", "top", "right", "bottom"];
export const SWITCHES = ["on", "apply"];

export class HardwareD2C {
  current;
  #form;

  // request(message): a promise of the server's answer.
  constructor(form, stream, request) {
    this.#form = form;
    form.addEventListener("submit", (event) => event.preventDefault());
    form.addEventListener("change", async () => {
      const fields = form.elements;
      const wanted = {};
      for (const name of SWITCHES) wanted[name] = fields[name].checked;
      for (const name of NUMBERS) wanted[name] = fields[name].valueAsNumber;
      const answer = form.querySelector(".answer");
      answer.textContent = "";
      try {
        if (!form.checkValidity()) throw new Error("Every field takes a number, the borders whole ones.");
        await request({ type: "d2c", stream: stream.id, ...wanted });
      } catch (refusal) {
        answer.textContent = refusal.message;
        this.show(this.current, true);
      }
    });
    this.show(stream.d2c);
  }

  // A field in which somebody types is left alone, unless all are to be as they were.
  show(d2c, isBack = false) {
    this.current = d2c;
    const fields = this.#form.elements;
    for (const name of SWITCHES) fields[name].checked = d2c[name];
    for (const name of NUMBERS) {
      if (isBack || fields[name] !== document.activeElement) fields[name].value = d2c[name];
    }
  }
}
