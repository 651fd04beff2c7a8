// Depth pixels as points in space. Each point is computed by the GPU from the pixel's number; the page only tells how many.
import { Pixel, stepsTimesMillimetres } from "./frames.js";
import { PALETTE } from "./painter.js";
import { WARM_TO_COOL } from "./palette.js";

const VERTEX = `#version 300 es
precision highp float;
precision highp int;
precision highp usampler2D;
uniform usampler2D numbers;
uniform sampler2D colours;
uniform ivec2 size;
uniform int stride;
uniform vec4 lens;
uniform float steps;
uniform vec2 range;
uniform mat4 view;
uniform float pointSize; // in pixels of the picture, where the depth is the distance from the eye
uniform bool fromColour;
uniform mat3 rotation;   // to the colour camera
uniform vec3 translation;
uniform vec4 colourLens;
uniform vec2 colourSize;
${PALETTE}
out vec3 tint;
void main() {
  int columns = (size.x + stride - 1) / stride;
  ivec2 pixel = ivec2(gl_VertexID % columns, gl_VertexID / columns) * stride;
  float number = float(texelFetch(numbers, pixel, 0).r);
  gl_PointSize = 1.0;
  gl_Position = vec4(2.0, 2.0, 2.0, 1.0); // out of sight
  tint = vec3(0.0);
  if (number == 0.0) return;
  float depth = steps > 0.0 ? steps / number : number;
  vec3 point = vec3((vec2(pixel) - lens.zw) / lens.xy, 1.0) * depth;
  gl_Position = view * vec4(point, 1.0);
  gl_PointSize = clamp(pointSize * depth / gl_Position.w + 0.5, 1.0, 16.0);
  tint = colourAt((depth - range.x) / (range.y - range.x));
  if (fromColour) {
    vec3 seen = rotation * point + translation;
    vec2 place = (seen.xy / seen.z * colourLens.xy + colourLens.zw + 0.5) / colourSize;
    bool isInside = seen.z > 0.0 && place == clamp(place, 0.0, 1.0);
    tint = isInside ? textureLod(colours, place, 0.0).rgb : vec3(0.35);
  }
}`;

const FRAGMENT = `#version 300 es
precision mediump float;
in vec3 tint;
out vec4 colour;
void main() { colour = vec4(tint, 1.0); }`;

// Draws the points of a depth plane. view: a 4x4 matrix, by columns, from millimetres before the camera to the picture.
// colour: {plane, toColour, name} to take the points' colours from the colour camera.
export function drawPoints(surface, name, plane, stream, { view, range, stride, pointSize, colour = null }) {
  const { gl } = surface;
  const place = surface.use(VERTEX, FRAGMENT);
  surface.bind(0, name, plane);
  gl.uniform1i(place("numbers"), 0);
  gl.uniform1i(place("colours"), 2);
  gl.uniform2i(place("size"), plane.width, plane.height);
  gl.uniform1i(place("stride"), stride);
  gl.uniform4fv(place("lens"), plane.lens);
  gl.uniform1f(place("steps"), stepsTimesMillimetres(plane, stream));
  gl.uniform2f(place("range"), range.low, range.high);
  gl.uniformMatrix4fv(place("view"), false, view);
  gl.uniform1f(place("pointSize"), pointSize);
  gl.uniform3fv(place("stops"), WARM_TO_COOL.flat());
  gl.uniform1i(place("fromColour"), colour ? 1 : 0);
  if (colour) {
    surface.bind(2, colour.name, colour.plane);
    gl.uniformMatrix3fv(place("rotation"), true, colour.toColour.rotation);
    gl.uniform3fv(place("translation"), colour.toColour.translation);
    gl.uniform4fv(place("colourLens"), colour.plane.lens);
    gl.uniform2f(place("colourSize"), colour.plane.width, colour.plane.height);
  }
  gl.enable(gl.DEPTH_TEST);
  gl.drawArrays(gl.POINTS, 0, Math.ceil(plane.width / stride) * Math.ceil(plane.height / stride));
  gl.disable(gl.DEPTH_TEST);
}

export function hasPoints(plane) {
  return (plane?.pixel === Pixel.depth || plane?.pixel === Pixel.disparity) && plane.lens[0] > 0 && plane.lens[1] > 0;
}

// The view of the colour camera: its picture covers the whole area.
export function colourView({ rotation: r, translation: t }, colour) {
  const [fx, fy, cx, cy] = colour.lens;
  const [near, far] = [100, 20000];
  // Each row of the projection, over the axes of the colour camera.
  const project = [
    [(2 * fx) / colour.width, 0, (2 * cx + 1) / colour.width - 1, 0],
    [0, (-2 * fy) / colour.height, 1 - (2 * cy + 1) / colour.height, 0],
    [0, 0, (far + near) / (far - near), (-2 * far * near) / (far - near)],
    [0, 0, 1, 0],
  ];
  const place = [[...r.slice(0, 3), t[0]], [...r.slice(3, 6), t[1]], [...r.slice(6, 9), t[2]], [0, 0, 0, 1]];
  return multiply(project, place);
}

// The product of two 4x4 matrices given by rows, by columns as WebGL wants it.
export function multiply(left, right) {
  const product = new Float32Array(16);
  for (let row = 0; row < 4; ++row) {
    for (let column = 0; column < 4; ++column) {
      for (let i = 0; i < 4; ++i) product[4 * column + row] += left[row][i] * right[i][column];
    }
  }
  return product;
}
