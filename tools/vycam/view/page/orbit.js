// Where one looks at a point cloud from: turned by dragging or arrow keys, nearer by wheel, pinch, plus and minus.
import { multiply } from "./points.js";

const NEAR = 50;
const FAR = 60000;
const STEP = Math.PI / 36;
const FIELD_OF_VIEW = Math.PI / 4;

export class Orbit {
  yaw;
  pitch;
  zoom;

  // changed() is called after each move.
  constructor(canvas, isActive, changed) {
    this.reset();
    const pointers = new Map();
    const move = (yaw, pitch, zoom) => {
      this.yaw += yaw;
      this.pitch = Math.min(Math.max(this.pitch + pitch, -1.5), 1.5);
      this.zoom = Math.min(Math.max(this.zoom * zoom, 0.2), 12);
      changed();
    };
    canvas.addEventListener("pointerdown", (event) => {
      if (!isActive() || event.button !== 0) return;
      canvas.setPointerCapture(event.pointerId);
      pointers.set(event.pointerId, [event.clientX, event.clientY]);
    });
    canvas.addEventListener("pointermove", (event) => {
      const before = pointers.get(event.pointerId);
      if (!before) return;
      const distance = () => {
        const [a, b] = [...pointers.values()];
        return Math.hypot(a[0] - b[0], a[1] - b[1]);
      };
      const apart = pointers.size === 2 ? distance() : 0;
      pointers.set(event.pointerId, [event.clientX, event.clientY]);
      if (pointers.size === 2) move(0, 0, distance() / Math.max(apart, 1));
      else move((event.clientX - before[0]) / 150, (event.clientY - before[1]) / 150, 1);
    });
    for (const end of ["pointerup", "pointercancel"]) {
      canvas.addEventListener(end, (event) => pointers.delete(event.pointerId));
    }
    canvas.addEventListener("wheel", (event) => {
      if (!isActive()) return;
      event.preventDefault();
      move(0, 0, Math.exp(-event.deltaY / 600));
    }, { passive: false });
    canvas.addEventListener("dblclick", () => {
      if (!isActive()) return;
      this.reset();
      changed();
    });
    const keys = {
      ArrowLeft: [-STEP, 0, 1], ArrowRight: [STEP, 0, 1], ArrowUp: [0, -STEP, 1], ArrowDown: [0, STEP, 1],
      "+": [0, 0, 1.1], "=": [0, 0, 1.1], "-": [0, 0, 1 / 1.1],
    };
    canvas.addEventListener("keydown", (event) => {
      if (!isActive() || event.ctrlKey || event.metaKey || event.altKey) return;
      if (event.key === "Home") this.reset();
      if (event.key !== "Home" && !keys[event.key]) return;
      event.preventDefault();
      move(...(keys[event.key] ?? [0, 0, 1]));
    });
  }

  // A little from the side: a cloud seen from where the camera was looks like a picture.
  reset() {
    this.yaw = 0.3;
    this.pitch = 0.15;
    this.zoom = 0.85;
  }

  // The focal length in pixels of a picture of that height.
  focal(height) {
    return height / 2 / Math.tan(FIELD_OF_VIEW / 2);
  }

  // The matrix for a cloud around `pivot` millimetres before the camera, seen by a camera with this focal length.
  view(pivot, aspect, lens, height) {
    const halfSide = Math.tan(FIELD_OF_VIEW / 2);
    const distance = (pivot * (height / 2)) / lens[1] / halfSide / this.zoom;
    const [sinYaw, cosYaw] = [Math.sin(this.yaw), Math.cos(this.yaw)];
    const [sinPitch, cosPitch] = [Math.sin(this.pitch), Math.cos(this.pitch)];
    const turn = [
      [cosYaw, 0, sinYaw],
      [sinYaw * sinPitch, cosPitch, -cosYaw * sinPitch],
      [-sinYaw * cosPitch, sinPitch, cosYaw * cosPitch],
    ];
    const place = [...turn.map((row, i) => [...row, -pivot * row[2] + (i === 2 ? distance : 0)]), [0, 0, 0, 1]];
    const project = [
      [1 / (halfSide * aspect), 0, 0, 0],
      [0, -1 / halfSide, 0, 0],
      [0, 0, (FAR + NEAR) / (FAR - NEAR), (-2 * FAR * NEAR) / (FAR - NEAR)],
      [0, 0, 1, 0],
    ];
    return multiply(project, place);
  }
}
