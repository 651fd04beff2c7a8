// The form that lets a call of the host fail.

export class Faults {
  #details;

  // request(message): a promise of the server's answer.
  constructor(details, request) {
    this.#details = details;
    const form = details.querySelector("form");
    const answer = form.querySelector(".answer");
    form.addEventListener("submit", async (event) => {
      event.preventDefault();
      const fields = form.elements;
      const [wanted, kind] = [fields.function.value, fields.kind.value];
      const nth = fields.nth.valueAsNumber;
      try {
        await request({ type: "fail", function: wanted, nth, kind });
        answer.textContent = `Call ${nth} of ${wanted} from now on fails. What comes of it is told below the picture.`;
      } catch (refusal) {
        answer.textContent = refusal.message;
      }
    });
    details.addEventListener("keydown", (event) => {
      if (event.key !== "Escape") return;
      details.open = false;
      details.querySelector("summary").focus();
    });
  }

  offer({ functions, kinds }) {
    const fields = this.#details.querySelector("form").elements;
    fields.function.replaceChildren(...functions.map((name) => new Option(name)));
    fields.kind.replaceChildren(...kinds.map((name) => new Option(name)));
  }
}
