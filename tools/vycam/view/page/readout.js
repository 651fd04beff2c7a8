// The numbers of the pixel under the pointer, as text.
import { Pixel, ROLES } from "./frames.js";
import { fit } from "./painter.js";
import { millimetres } from "./range.js";

// The pixel of a plane at a place of the picture (shares of width and height), or null beside it.
function pixelAt(plane, place, width, height) {
  const shown = fit(plane, width, height);
  const x = Math.floor(((place.x * width - shown.x) / shown.width) * plane.width);
  const y = Math.floor(((place.y * height - shown.y) / shown.height) * plane.height);
  return x < 0 || y < 0 || x >= plane.width || y >= plane.height ? null : { x, y, index: y * plane.width + x };
}

// The middle of the pixel so many columns and rows from the one at a place, as such a place; at most at the edge.
export function placeBeside(plane, place, [columns, rows], width, height) {
  const shown = fit(plane, width, height);
  const move = (share, by, side, start, length, count) => {
    const pixel = Math.floor(((share * side - start) / length) * count) + by;
    return (start + ((Math.min(Math.max(pixel, 0), count - 1) + 0.5) / count) * length) / side;
  };
  return {
    x: move(place.x, columns, width, shown.x, shown.width, plane.width),
    y: move(place.y, rows, height, shown.y, shown.height, plane.height),
  };
}

function valueAt(plane, stream, index) {
  if (plane.pixel === Pixel.colour) return [...plane.numbers.subarray(3 * index, 3 * index + 3)].join(" ");
  const number = plane.numbers[index];
  if (plane.pixel !== Pixel.depth && plane.pixel !== Pixel.disparity) return number.toLocaleString("en");
  if (number === 0) return "no measurement";
  const depth = millimetres(plane, stream, index).toLocaleString("en", { maximumFractionDigits: 0 });
  return plane.pixel === Pixel.depth ? `${depth} mm` : `${number.toLocaleString("en")} steps = ${depth} mm`;
}

// [name, value] pairs for all planes of a frame at a place; empty beside the picture.
export function valuesAt(frame, stream, place, width, height) {
  const { after, truth } = frame.planes;
  const found = ROLES.filter((role) => frame.planes[role])
    .map((role) => ({ role, plane: frame.planes[role], pixel: pixelAt(frame.planes[role], place, width, height) }))
    .filter(({ pixel }) => pixel);
  if (found.length === 0) return [];
  const { pixel } = found.find(({ role }) => role === "after") ?? found[0];
  const values = [["pixel", `${pixel.x}, ${pixel.y}`]];
  for (const { role, plane, pixel: { index } } of found) values.push([role, valueAt(plane, stream, index)]);
  if (after?.pixel === Pixel.depth && truth && after.numbers[pixel.index] && truth.numbers[pixel.index]) {
    const error = after.numbers[pixel.index] - truth.numbers[pixel.index];
    values.push(["error", `${error > 0 ? "+" : ""}${error} mm`.replace("-", "\u2212")]);
  }
  return values;
}
