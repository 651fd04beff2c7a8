// The binary messages: one frame of one stream with up to three planes.

const MAGIC = 0x31465956; // "VYF1"
const HEADER_BYTES = 24;
const PLANE_BYTES = 32;

export const ROLES = ["before", "after", "truth"];
export const Pixel = { depth: 0, disparity: 1, brightness: 2, colour: 3, brightness8: 4 };

// Takes a message apart. The planes' numbers are views into the message, nothing is copied.
export function parseFrame(buffer) {
  const view = new DataView(buffer);
  if (buffer.byteLength < HEADER_BYTES || view.getUint32(0, true) !== MAGIC) throw new Error("not a frame");
  const planeCount = view.getUint16(6, true);
  const frame = {
    stream: view.getUint16(4, true),
    number: view.getUint32(8, true),
    dropped: view.getUint32(12, true),
    microseconds: Number(view.getBigUint64(16, true)),
    planes: {},
  };
  let offset = HEADER_BYTES + PLANE_BYTES * planeCount;
  for (let i = 0; i < planeCount; ++i) {
    const at = HEADER_BYTES + PLANE_BYTES * i;
    const bytes = view.getUint32(at + 12, true);
    const pixel = view.getUint8(at + 1);
    const lens = [0, 1, 2, 3].map((place) => view.getFloat32(at + 16 + 4 * place, true));
    frame.planes[ROLES[view.getUint8(at)]] = {
      pixel,
      width: view.getUint32(at + 4, true),
      height: view.getUint32(at + 8, true),
      lens, // fx, fy, cx, cy
      numbers: isWide(pixel) ? new Uint16Array(buffer, offset, bytes / 2) : new Uint8Array(buffer, offset, bytes),
    };
    offset += Math.ceil(bytes / 4) * 4;
  }
  return frame;
}

export function isWide(pixel) {
  return pixel <= Pixel.brightness;
}

// Millimetres times raw steps of a disparity; 0 where the plane is no disparity. The steps stay those of the camera when
// the chain scales or turns the picture and with it the plane's lens.
export function stepsTimesMillimetres(plane, stream) {
  if (plane.pixel !== Pixel.disparity) return 0;
  return stream.focalLength * stream.baseline * 2 ** stream.subPixelBits;
}
