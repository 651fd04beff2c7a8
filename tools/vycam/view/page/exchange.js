// The settings of a stream as arguments of `vycam run`, and as a file.
import { NUMBERS, SWITCHES } from "./d2c.js";

const D2C_SWITCH = "HardwareD2CProcessor#255";

// One line with what differs from the start; empty if nothing does. --d2c switches its filter on by itself.
export function asArguments(settings, d2c) {
  const parts = settings.differing()
    .filter(({ key }) => !(d2c?.on && key === D2C_SWITCH))
    .map(({ key }) => `--set '${key}=${settings.values.get(key)}'`);
  if (d2c?.on) {
    parts.push(`--d2c ${NUMBERS.map((item) => `${item}=${d2c[item]}`).join()},apply=${d2c.apply ? 1 : 0}`);
  }
  return parts.join(" ");
}

export function saveFile(camera, stream, settings, d2c) {
  const content = { camera: camera.name, sensor: stream.sensor, values: Object.fromEntries(settings.values) };
  if (d2c) content.d2c = d2c;
  const link = document.createElement("a");
  link.href = URL.createObjectURL(new Blob([`${JSON.stringify(content, null, 2)}\n`], { type: "application/json" }));
  link.download = `${camera.name}-${stream.sensor}.json`;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 0);
}

// Reads what saveFile() wrote and sends it. Gives a sentence on what came of it.
export async function loadFile(file, stream, settings, request) {
  const { values, d2c } = parse(await file.text());
  const known = Object.entries(values).filter(([key]) => settings.values.has(key));
  const unknown = Object.keys(values).filter((key) => !settings.values.has(key));
  if (known.length === 0) throw new Error(`${file.name} has no setting of this chain.`);
  await request({ type: "set", stream: stream.id, values: Object.fromEntries(known) });
  if (d2c && stream.d2c) await request({ type: "d2c", stream: stream.id, ...d2c });
  const rest = unknown.length > 0 ? ` Not in this chain: ${unknown.join(", ")}.` : "";
  const d2cRest = d2c && !stream.d2c ? " This chain cannot align, so d2c is left out." : "";
  return `Loaded ${known.length} settings from ${file.name}.${rest}${d2cRest}`;
}

// What the file says, all of it of the right type: the server closes the connection of who sends it another.
function parse(text) {
  let content;
  try {
    content = JSON.parse(text);
  } catch (error) {
    throw new Error(`This is no settings file: ${error.message}`);
  }
  const { values, d2c } = content ?? {};
  if (!values || Object.values(values).some((value) => typeof value !== "string")) {
    throw new Error('This is no settings file: it has no "values" with texts.');
  }
  return { values, d2c: d2c && alignmentOf(d2c) };
}

function alignmentOf(d2c) {
  const isRight = NUMBERS.every((name) => Number.isFinite(d2c[name])) &&
    SWITCHES.every((name) => typeof d2c[name] === "boolean");
  if (!isRight) {
    throw new Error(`This is no settings file: its "d2c" must have numbers in ${NUMBERS.join(", ")}, ` +
      `and true or false in ${SWITCHES.join(" and ")}.`);
  }
  return Object.fromEntries([...NUMBERS, ...SWITCHES].map((name) => [name, d2c[name]]));
}
