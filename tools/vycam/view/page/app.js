// The page: cameras and their streams, what of them is watched, and the state of the connection.
import { Connection } from "./connection.js";
import { Faults } from "./faults.js";
import { Surface } from "./gl.js";
import { clone } from "./settings.js";
import { StreamCard } from "./stream.js";
import { followTheme } from "./theme.js";

const main = document.getElementById("cameras");
const link = document.getElementById("link");
const banner = document.getElementById("banner");
const cards = new Map();
const frames = new Map(); // the last few of each stream
const KEPT_FRAMES = 4;
const cameras = [];
const dirty = new Set();
let watched = "";
let isDrawing = false;
let retryAt = 0;

const page = {
  surface: makeSurface(),
  newest: (stream) => frames.get(stream)?.at(-1),
  nearest(stream, microseconds) {
    const distance = (frame) => Math.abs(frame.microseconds - microseconds);
    return frames.get(stream)?.reduce((best, frame) => (distance(frame) < distance(best) ? frame : best));
  },
  request: (message) => connection.request(message),
  changed(card) {
    dirty.add(card);
    if (isDrawing) return;
    isDrawing = true;
    requestAnimationFrame(draw);
  },
};

const visibility = new IntersectionObserver((entries) => {
  for (const { target, isIntersecting } of entries) {
    const card = cards.get(Number(target.dataset.stream));
    if (card?.element !== target) continue;
    card.isVisible = isIntersecting;
    page.changed(card);
  }
  watch();
}, { rootMargin: "200px" });

function makeSurface() {
  try {
    return new Surface(() => {
      for (const card of cards.values()) page.changed(card);
    });
  } catch (error) {
    main.textContent = error.message;
    throw error;
  }
}

function draw() {
  isDrawing = false;
  watch();
  const waiting = [...dirty];
  dirty.clear();
  for (const card of waiting) {
    try {
      if (card.isVisible) card.draw();
    } catch (error) {
      reportError(error); // and the other cards are drawn
    }
  }
}

// Tells the server what can be seen, if that is something else than before.
function watch() {
  const wanted = {};
  for (const card of cards.values()) {
    if (!card.isVisible || document.hidden) continue;
    for (const [stream, roles] of Object.entries(card.stage.wanted())) {
      wanted[stream] = [...new Set([...(wanted[stream] ?? []), ...roles])].sort();
    }
  }
  const text = JSON.stringify(wanted);
  if (text === watched) return;
  watched = text;
  connection.watch(wanted);
}

function build(hello) {
  document.getElementById("version").textContent = hello.version;
  faults.offer(hello.faults);
  hello.cameras.forEach((camera, number) => {
    const section = clone("camera");
    section.querySelector("h2").textContent = camera.name;
    section.querySelector(".rate").textContent = `${camera.rate} frames/s`;
    const [pause, step] = section.querySelectorAll("button");
    pause.addEventListener("click", () =>
      connection.send({ type: "pause", camera: number, on: pause.ariaPressed !== "true" }));
    step.addEventListener("click", () => connection.send({ type: "step", camera: number }));
    cameras.push({ pause, step, section });
    main.append(section);
  });
  for (const stream of hello.streams) {
    const card = new StreamCard(hello.cameras[stream.camera], stream, page);
    cards.set(stream.id, card);
    cameras[stream.camera].section.querySelector(".streams").append(card.element);
    visibility.observe(card.element);
  }
}

function showPaused(number, isPaused) {
  const { pause, step, section } = cameras[number];
  pause.ariaPressed = String(isPaused);
  step.disabled = !isPaused;
  section.classList.toggle("paused", isPaused);
}

function showLink(state, text) {
  link.dataset.state = state;
  link.textContent = text;
  main.classList.toggle("stale", state !== "live");
}

const connection = new Connection({
  hello(hello) {
    if (cards.size === 0) build(hello); // a server that was started anew has another address
    for (const { id, settings, d2c } of hello.streams) {
      const card = cards.get(id);
      card.update({ values: Object.fromEntries(settings.map(({ key, value }) => [key, value])), d2c });
      card.clearRefusals();
    }
    hello.cameras.forEach(({ paused }, number) => showPaused(number, paused));
    banner.hidden = true;
    showLink("live", "live");
    watched = "";
    watch();
  },
  state(message) {
    cards.get(message.stream)?.update(message);
  },
  camera({ camera, paused }) {
    showPaused(camera, paused);
  },
  stats(stats) {
    cards.get(stats.stream)?.showStats(stats);
  },
  frame(frame) {
    frames.set(frame.stream, [...(frames.get(frame.stream) ?? []), frame].slice(-KEPT_FRAMES));
    for (const card of cards.values()) {
      if (String(frame.stream) in card.stage.wanted()) page.changed(card);
    }
  },
  lost({ reason, attempt, wait }) {
    retryAt = performance.now() + wait;
    const hint = attempt > 3 ? " If vycam was started anew, open the address that it has printed." : "";
    const text = `The connection to vycam is lost. ${reason}${hint}`;
    const told = banner.querySelector("p");
    banner.hidden = false;
    if (told.textContent !== text) told.textContent = text;
    showLink("lost", "not connected");
    countDown();
  },
});

function countDown() {
  const seconds = Math.max(0, Math.ceil((retryAt - performance.now()) / 1000));
  banner.querySelector("span").textContent = seconds > 0 ? `Trying again in ${seconds} s.` : "Trying again.";
}

setInterval(countDown, 1000);
banner.querySelector("button").addEventListener("click", () => connection.open());
document.addEventListener("visibilitychange", watch);
const faults = new Faults(document.getElementById("fail"), page.request);
followTheme(document.getElementById("theme"));
