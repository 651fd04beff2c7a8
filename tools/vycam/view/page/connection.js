// The socket to the server: opens it, opens it again when it is lost, and matches answers to requests.
import { parseFrame } from "./frames.js";

const FIRST_WAIT = 500;
const LONGEST_WAIT = 15000;
const SILENCE = 4000; // the server sends figures twice a second

// What the server does not do, in its words. All other failures of a request are plain errors.
export class Refusal extends Error {}

export class Connection {
  #handlers;
  #socket = null;
  #requests = new Map();
  #nextRequest = 1;
  #attempts = 0;
  #retry = 0;
  #lastHeard = 0;
  #isWatching = false;

  // handlers: hello, state, camera, stats, frame with the message, and lost({reason, attempt, wait}).
  constructor(handlers) {
    this.#handlers = handlers;
    setInterval(() => this.#checkSilence(), 1000);
    this.open();
  }

  open() {
    clearTimeout(this.#retry);
    const address = new URL("live", location.href);
    address.protocol = location.protocol === "https:" ? "wss:" : "ws:";
    const socket = new WebSocket(address, "vycam");
    socket.binaryType = "arraybuffer";
    this.#socket?.close(); // a second "Try now" comes while the first is still under way
    this.#socket = socket;
    this.#abandonRequests();
    this.#lastHeard = performance.now();
    this.#isWatching = false;
    socket.addEventListener("message", (event) => {
      this.#lastHeard = performance.now();
      if (socket === this.#socket) this.#receive(event.data);
    });
    socket.addEventListener("close", (event) => {
      if (socket === this.#socket) this.#lose(event.reason || "The server has closed the connection, or is not there.");
    });
  }

  send(message) {
    if (this.#socket?.readyState === WebSocket.OPEN) this.#socket.send(JSON.stringify(message));
  }

  // A promise that the server's "done" fulfils, and that "refused" rejects with a Refusal.
  request(message) {
    if (this.#socket?.readyState !== WebSocket.OPEN) return Promise.reject(new Error("There is no connection."));
    return new Promise((resolve, reject) => {
      const request = this.#nextRequest++;
      this.#requests.set(request, { resolve, reject });
      this.send({ ...message, request });
    });
  }

  watch(streams) {
    this.#isWatching = Object.keys(streams).length > 0;
    this.#lastHeard = performance.now();
    this.send({ type: "watch", streams });
  }

  #receive(data) {
    if (typeof data !== "string") {
      this.#handlers.frame(parseFrame(data));
      return;
    }
    const message = JSON.parse(data);
    if (message.type === "done" || message.type === "refused") {
      const waiting = this.#requests.get(message.request);
      this.#requests.delete(message.request);
      if (message.type === "done") waiting?.resolve();
      else waiting?.reject(new Refusal(message.text));
      return;
    }
    if (message.type === "hello") this.#attempts = 0;
    this.#handlers[message.type]?.(message);
  }

  // A server that is stopped keeps its sockets open, and one that is overrun may never finish a handshake.
  #checkSilence() {
    const socket = this.#socket;
    if (document.hidden) this.#lastHeard = performance.now();
    if (!socket || performance.now() - this.#lastHeard < SILENCE) return;
    if (socket.readyState === WebSocket.CONNECTING || (socket.readyState === WebSocket.OPEN && this.#isWatching)) {
      this.#lose("The server does not answer.");
      socket.close();
    }
  }

  #lose(reason) {
    this.#socket = null;
    this.#abandonRequests();
    const wait = Math.min(FIRST_WAIT * 2 ** this.#attempts++, LONGEST_WAIT);
    this.#retry = setTimeout(() => this.open(), wait);
    this.#handlers.lost({ reason, attempt: this.#attempts, wait });
  }

  #abandonRequests() {
    for (const waiting of this.#requests.values()) waiting.reject(new Error("The connection was lost."));
    this.#requests.clear();
  }
}
