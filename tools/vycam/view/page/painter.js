// Pictures of planes: numbers become colours on the GPU.
import { Pixel, stepsTimesMillimetres } from "./frames.js";
import { GREY, HOLE, NEAR_TO_FAR, NOTHING, NO_MEASUREMENT, WARM_TO_COOL } from "./palette.js";

// A triangle that covers the viewport.
const VERTEX = `#version 300 es
out vec2 place; // 0 to 1, from the upper left corner
void main() {
  vec2 corner = vec2(gl_VertexID == 1 ? 2 : 0, gl_VertexID == 2 ? 2 : 0);
  place = vec2(corner.x, 1.0 - corner.y);
  gl_Position = vec4(2.0 * corner - 1.0, 0.0, 1.0);
}`;

export const PALETTE = `
uniform vec3 stops[11];
vec3 colourAt(float place) {
  float steps = clamp(place, 0.0, 1.0) * 10.0;
  int first = min(int(steps), 9);
  return mix(stops[first], stops[first + 1], steps - float(first)) / 255.0;
}`;

const FRAGMENT = `#version 300 es
precision highp float;
precision highp int;
precision highp usampler2D;
in vec2 place;
out vec4 colour;
uniform usampler2D numbers;
uniform usampler2D truth;
uniform sampler2D colours;
uniform vec2 size;
uniform vec2 spread;   // of the four samples of a reduced picture, in pixels; 0 takes one
uniform vec2 range;
uniform float steps;   // steps times millimetres of a disparity, 0 for others
uniform bool isColour, isError, zeroIsMissing;
uniform vec3 missing, nothing;
${PALETTE}
vec3 colourOf(ivec2 pixel) {
  float number = float(texelFetch(numbers, pixel, 0).r);
  if (isError) {
    float right = float(texelFetch(truth, pixel, 0).r);
    if (right == 0.0) return nothing / 255.0;
    if (number == 0.0) return missing / 255.0;
    return colourAt((number - right - range.x) / (range.y - range.x));
  }
  if (zeroIsMissing && number == 0.0) return missing / 255.0;
  if (steps > 0.0) number = steps / number;
  return colourAt((number - range.x) / (range.y - range.x));
}
void main() {
  if (isColour) {
    colour = vec4(texture(colours, place).rgb, 1.0);
    return;
  }
  vec2 pixel = place * size;
  if (spread.x == 0.0) {
    colour = vec4(colourOf(ivec2(pixel)), 1.0);
    return;
  }
  vec3 sum = vec3(0.0);
  for (int i = 0; i < 4; ++i) {
    vec2 corner = vec2(float(i & 1), float(i >> 1)) - 0.5;
    sum += colourOf(ivec2(clamp(pixel + corner * spread, vec2(0.0), size - 1.0)));
  }
  colour = vec4(sum / 4.0, 1.0);
}`;

// Where a plane goes in an area if it keeps its shape: {x, y, width, height} from the upper left corner.
export function fit(plane, width, height) {
  const scale = Math.min(width / plane.width, height / plane.height);
  // Rounded up, as an area of nearly the same shape shall not get an empty edge.
  const shown = { width: Math.ceil(plane.width * scale), height: Math.ceil(plane.height * scale) };
  return { x: Math.floor((width - shown.width) / 2), y: Math.floor((height - shown.height) / 2), ...shown };
}

export function stopsFor(plane) {
  return plane.pixel === Pixel.brightness || plane.pixel === Pixel.brightness8 ? GREY : WARM_TO_COOL;
}

// Draws on the area that surface.begin() made. part: which share of the width is drawn, as [from, to].
// error: the true depth, to draw the difference.
export function paint(surface, name, plane, stream, { range, width, height, part = [0, 1], error = null }) {
  const { gl } = surface;
  const place = surface.use(VERTEX, FRAGMENT);
  const isColour = plane.pixel === Pixel.colour;
  surface.bind(isColour ? 2 : 0, name, plane);
  if (error) surface.bind(1, `${name}/truth`, error);
  // Samplers of different types must not share a unit, even those that are not read.
  gl.uniform1i(place("numbers"), 0);
  gl.uniform1i(place("truth"), error ? 1 : 0);
  gl.uniform1i(place("colours"), 2);

  const target = fit(plane, width, height);
  const reduction = plane.width / target.width;
  gl.uniform2f(place("size"), plane.width, plane.height);
  gl.uniform2f(place("spread"), ...(reduction > 1.2 ? [reduction / 2, reduction / 2] : [0, 0]));
  gl.uniform2f(place("range"), range?.low ?? 0, range?.high ?? 1);
  gl.uniform1f(place("steps"), stepsTimesMillimetres(plane, stream));
  gl.uniform1i(place("isColour"), isColour ? 1 : 0);
  gl.uniform1i(place("isError"), error ? 1 : 0);
  gl.uniform1i(place("zeroIsMissing"), stopsFor(plane) === GREY ? 0 : 1);
  gl.uniform3fv(place("missing"), error ? HOLE : NO_MEASUREMENT);
  gl.uniform3fv(place("nothing"), NOTHING);
  gl.uniform3fv(place("stops"), (error ? NEAR_TO_FAR : stopsFor(plane)).flat());

  gl.viewport(target.x, height - target.y - target.height, target.width, target.height);
  gl.enable(gl.SCISSOR_TEST);
  gl.scissor(Math.round(part[0] * width), 0, Math.round(part[1] * width) - Math.round(part[0] * width), height);
  gl.drawArrays(gl.TRIANGLES, 0, 3);
  gl.disable(gl.SCISSOR_TEST);
}
