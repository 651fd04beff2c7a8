// Colours for numbers, the same as those of vycam's pictures, and round numbers for scales.

// From warm (near) to cool (far).
export const WARM_TO_COOL = [
  [165, 26, 38], [216, 72, 43], [244, 128, 62], [253, 186, 86], [250, 229, 133], [200, 228, 146],
  [127, 199, 155], [66, 160, 168], [52, 113, 171], [66, 74, 156], [94, 60, 146],
];
export const NO_MEASUREMENT = [34, 34, 38];

// From measured too near, through right, to measured too far.
export const NEAR_TO_FAR = [
  [158, 47, 20], [196, 84, 34], [226, 130, 66], [240, 178, 120], [246, 218, 186], [240, 240, 238],
  [196, 220, 232], [138, 190, 216], [78, 150, 190], [38, 108, 158], [18, 70, 122],
];
export const GREY = Array.from({ length: 11 }, (_, i) => [i * 25.5, i * 25.5, i * 25.5]);

// Of the error picture: a pixel that the scene has and the camera has not, and one where there is nothing to see.
export const HOLE = [34, 34, 38];
export const NOTHING = [128, 128, 132];

export function css(colour) {
  return `rgb(${colour.map(Math.round).join(" ")})`;
}

export function gradient(stops) {
  return `linear-gradient(to right, ${stops.map(css).join(", ")})`;
}

// The smallest of 1, 2, 5, 10, 20, 50, ... that is not below the number.
export function roundUp(number) {
  const power = 10 ** Math.floor(Math.log10(Math.max(number, 1)));
  return [1, 2, 5, 10].map((factor) => factor * power).find((round) => round >= number);
}

// Round numbers inside a range, at most `most` of them.
export function ticks(low, high, most) {
  const step = roundUp((high - low) / most);
  const found = [];
  for (let tick = Math.ceil(low / step) * step; tick <= high; tick += step) found.push(tick);
  return found;
}
