// Watches a viewer's depth stream with some clients, before and after the chain, and prints each minute what it costs.
// The last line sums up. Arguments: minutes, clients, options of `vycam view`.
import { readFileSync } from "node:fs";
import { execFileSync } from "node:child_process";
import WebSocket from "ws";
import { DEPTH, serve } from "./viewer.mjs";

const [minutes, clients] = process.argv.slice(2, 4).map(Number);
const TICKS_PER_SECOND = Number(execFileSync("getconf", ["CLK_TCK"]));

class Watcher {
  frames = 0; // that have come
  dropped = 0; // by the server, as this client was too slow
  stats = null;

  constructor(address) {
    const origin = new URL(address).origin;
    this.socket = new WebSocket(`${address}live`.replace("http", "ws"), ["vycam"], { origin, perMessageDeflate: false });
    this.socket.on("message", (data, isBinary) => (isBinary ? this.#take(data) : this.#read(JSON.parse(data))));
    this.socket.on("close", (code, reason) => {
      console.error(`a client has lost its connection: ${code} ${reason}`);
      process.exit(1);
    });
  }

  #take(frame) {
    ++this.frames;
    this.dropped = frame.readUInt32LE(12);
  }

  #read(message) {
    if (message.type === "hello") {
      this.socket.send(JSON.stringify({ type: "watch", streams: { [DEPTH]: ["before", "after"] } }));
    } else if (message.type === "stats" && message.stream === DEPTH) {
      this.stats = message;
    }
  }
}

// Processor seconds and resident kilobytes of a process so far.
function usage(pid) {
  const fields = readFileSync(`/proc/${pid}/stat`, "utf8").split(") ")[1].split(" ");
  const [, resident] = readFileSync(`/proc/${pid}/status`, "utf8").match(/VmRSS:\s+(\d+)/);
  return { seconds: (Number(fields[11]) + Number(fields[12])) / TICKS_PER_SECOND, kilobytes: Number(resident) };
}

const wait = (milliseconds) => new Promise((done) => setTimeout(done, milliseconds));

const { server, address } = await serve("--port", "0", ...process.argv.slice(4));
process.on("exit", () => server.kill());
const watchers = Array.from({ length: clients }, () => new Watcher(address));
while (watchers.some(({ stats }) => !stats)) await wait(100);
await wait(5000); // until all buffers have the size that they keep
// The frames that went through the chain; those that the camera took meanwhile are lost.
const framesSoFar = ({ stats }) => stats.frame - stats.lost;
const begin = { ...usage(server.pid), frame: framesSoFar(watchers[0]) };
const kilobytes = [begin.kilobytes];
const milliseconds = { camera: [], chain: [] };
let last = begin;
for (let minute = 1; minute <= minutes; ++minute) {
  await wait(60000);
  const now = { ...usage(server.pid), frame: framesSoFar(watchers[0]) };
  const frames = now.frame - last.frame;
  const { camera, chain } = watchers[0].stats.milliseconds;
  milliseconds.camera.push(camera);
  milliseconds.chain.push(chain);
  kilobytes.push(now.kilobytes);
  console.log(
    `minute ${minute}: ${frames} frames, CPU ${(((now.seconds - last.seconds) * 1000) / frames).toFixed(1)} ms a frame ` +
      `(camera ${camera.toFixed(1)}, chain ${chain.toFixed(1)}), ${now.kilobytes} kB, frames to each client ` +
      `${watchers.map((each) => each.frames)}, dropped ${watchers.map((each) => each.dropped)}`,
  );
  last = now;
}
const median = (numbers) => numbers.sort((a, b) => a - b)[Math.floor(numbers.length / 2)];
const all = ((last.seconds - begin.seconds) * 1000) / (last.frame - begin.frame);
console.log(
  `${clients} clients, ${minutes} minutes: CPU ${all.toFixed(1)} ms a frame, of these camera ` +
    `${median(milliseconds.camera).toFixed(1)} and chain ${median(milliseconds.chain).toFixed(1)}; ` +
    `${begin.kilobytes} kB at first, ${last.kilobytes} kB at last, ${Math.max(...kilobytes)} kB at most`,
);
process.exit(0);
