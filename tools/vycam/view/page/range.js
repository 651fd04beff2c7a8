// Which numbers the ends of a colour scale stand for, from a sample of the pixels.
import { Pixel, stepsTimesMillimetres } from "./frames.js";
import { roundUp } from "./palette.js";

const SAMPLES = 4096;
const OUTERMOST = 0.01;
const TOLERANCE = 0.1; // a scale that follows every frame flickers

// Sorted numbers of pixels spread over the plane, without those that have none. `numberAt` gives NaN for them.
function sample(plane, numberAt) {
  const stride = Math.max(1, Math.floor(plane.numbers.length / SAMPLES) | 1);
  const found = [];
  for (let i = 0; i < plane.numbers.length; i += stride) {
    const number = numberAt(i);
    if (!Number.isNaN(number)) found.push(number);
  }
  return Float64Array.from(found).sort();
}

function shareOf(sorted, share) {
  return sorted[Math.min(sorted.length - 1, Math.floor(sorted.length * share))];
}

// The number of a depth or disparity pixel in millimetres; NaN without a measurement.
export function millimetres(plane, stream, index) {
  const raw = plane.numbers[index];
  if (raw === 0) return NaN;
  return plane.pixel === Pixel.disparity ? stepsTimesMillimetres(plane, stream) / raw : raw;
}

// The share of the pixels that have a measurement.
export function measuredShare(plane) {
  const numbers = sample(plane, (i) => plane.numbers[i]);
  return numbers.filter((number) => number > 0).length / numbers.length;
}

export function depthRange(plane, stream) {
  const sorted = sample(plane, (i) => millimetres(plane, stream, i));
  if (sorted.length === 0) return null;
  const [low, high] = [shareOf(sorted, OUTERMOST), shareOf(sorted, 1 - OUTERMOST)];
  return { low: Math.floor(low / 50) * 50, high: Math.max(Math.ceil(high / 50) * 50, low + 50) };
}

export function brightnessRange(plane) {
  const sorted = sample(plane, (i) => plane.numbers[i]);
  return { low: 0, high: Math.max(shareOf(sorted, 1 - OUTERMOST), 1) };
}

export function errorRange(after, truth) {
  const sorted = sample(after, (i) =>
    after.numbers[i] && truth.numbers[i] ? Math.abs(after.numbers[i] - truth.numbers[i]) : NaN);
  if (sorted.length === 0) return null;
  const high = roundUp(Math.max(shareOf(sorted, 0.95), 5));
  return { low: -high, high };
}

// The older range while the newer one is close to it, or there is none.
export function steady(older, newer) {
  if (!newer) return older;
  const allowed = (older.high - older.low) * TOLERANCE;
  const isClose = Math.abs(older.low - newer.low) <= allowed && Math.abs(older.high - newer.high) <= allowed;
  return isClose ? older : newer;
}
