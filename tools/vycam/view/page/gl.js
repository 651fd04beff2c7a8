// One WebGL surface for all pictures of the page, as browsers allow few of them. Whatever is drawn on it is copied to the
// canvas that shows it.
import { Pixel, isWide } from "./frames.js";

const GROWTH = 256;

export class Surface {
  #canvas = document.createElement("canvas");
  #textures = new Map();
  #programs = new Map();
  gl;

  // changed(): pictures can be drawn no longer, or again.
  constructor(changed) {
    this.gl = this.#canvas.getContext("webgl2", { alpha: true, antialias: false, depth: true });
    if (!this.gl) throw new Error("This browser offers no WebGL 2, which draws the pictures.");
    this.#canvas.addEventListener("webglcontextlost", (event) => {
      event.preventDefault(); // otherwise it would not come back
      changed();
    });
    this.#canvas.addEventListener("webglcontextrestored", () => {
      this.#textures.clear();
      this.#programs.clear();
      changed();
    });
  }

  get isLost() {
    return this.gl.isContextLost();
  }

  // Makes an area of that size ready, in the lower left corner, and clears it.
  begin(width, height) {
    const canvas = this.#canvas;
    const gl = this.gl;
    if (canvas.width < width) canvas.width = Math.ceil(width / GROWTH) * GROWTH;
    if (canvas.height < height) canvas.height = Math.ceil(height / GROWTH) * GROWTH;
    gl.viewport(0, 0, width, height);
    gl.disable(gl.SCISSOR_TEST);
    gl.disable(gl.DEPTH_TEST);
    gl.clearColor(0, 0, 0, 0);
    gl.clear(gl.COLOR_BUFFER_BIT | gl.DEPTH_BUFFER_BIT);
  }

  // Copies what was drawn since begin() to a place of a 2D canvas context.
  end(context, { x, y, width, height }, opacity = 1) {
    context.globalAlpha = opacity;
    context.drawImage(this.#canvas, 0, this.#canvas.height - height, width, height, x, y, width, height);
    context.globalAlpha = 1;
  }

  // Uses a program, made on first use, and gives a function that tells the place of a uniform.
  use(vertex, fragment) {
    const gl = this.gl;
    let made = this.#programs.get(fragment);
    if (!made) {
      const program = gl.createProgram();
      for (const [type, source] of [[gl.VERTEX_SHADER, vertex], [gl.FRAGMENT_SHADER, fragment]]) {
        const shader = gl.createShader(type);
        gl.shaderSource(shader, source);
        gl.compileShader(shader);
        gl.attachShader(program, shader);
      }
      gl.linkProgram(program);
      if (!gl.getProgramParameter(program, gl.LINK_STATUS) && !gl.isContextLost()) {
        const logs = gl.getAttachedShaders(program).map((shader) => gl.getShaderInfoLog(shader));
        throw new Error(`A shader does not compile: ${gl.getProgramInfoLog(program)} ${logs.join(" ")}`);
      }
      const places = new Map();
      const place = (name) => {
        if (!places.has(name)) places.set(name, gl.getUniformLocation(program, name));
        return places.get(name);
      };
      made = { program, place };
      this.#programs.set(fragment, made);
    }
    gl.useProgram(made.program);
    return made.place;
  }

  // Binds a plane to a texture unit. `name` keeps the texture for the next plane of the same stream and role.
  bind(unit, name, plane) {
    const gl = this.gl;
    let kept = this.#textures.get(name);
    gl.activeTexture(gl.TEXTURE0 + unit);
    if (!kept || kept.width !== plane.width || kept.height !== plane.height || kept.pixel !== plane.pixel) {
      if (kept) gl.deleteTexture(kept.texture);
      kept = { texture: gl.createTexture(), width: plane.width, height: plane.height, pixel: plane.pixel };
      this.#textures.set(name, kept);
      gl.bindTexture(gl.TEXTURE_2D, kept.texture);
      gl.texStorage2D(gl.TEXTURE_2D, 1, this.#layout(plane).storage, plane.width, plane.height);
      const filter = plane.pixel === Pixel.colour ? gl.LINEAR : gl.NEAREST;
      gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_MIN_FILTER, filter);
      gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_MAG_FILTER, filter);
      gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_WRAP_S, gl.CLAMP_TO_EDGE);
      gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_WRAP_T, gl.CLAMP_TO_EDGE);
    }
    gl.bindTexture(gl.TEXTURE_2D, kept.texture);
    if (kept.numbers === plane.numbers) return;
    const { format, type } = this.#layout(plane);
    gl.pixelStorei(gl.UNPACK_ALIGNMENT, 1);
    gl.texSubImage2D(gl.TEXTURE_2D, 0, 0, 0, plane.width, plane.height, format, type, plane.numbers);
    kept.numbers = plane.numbers;
  }

  #layout(plane) {
    const gl = this.gl;
    if (plane.pixel === Pixel.colour) return { storage: gl.RGB8, format: gl.RGB, type: gl.UNSIGNED_BYTE };
    if (isWide(plane.pixel)) return { storage: gl.R16UI, format: gl.RED_INTEGER, type: gl.UNSIGNED_SHORT };
    return { storage: gl.R8UI, format: gl.RED_INTEGER, type: gl.UNSIGNED_BYTE };
  }
}
