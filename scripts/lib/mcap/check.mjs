// Reads MCAP files with a library that is not the project's, and prints how many messages each topic has. A file that
// breaks off is read front to back; a finished one also through its index, which must lead to the same messages.
import { McapIndexedReader, McapStreamReader } from "@mcap/core";
import { decompress } from "fzstd";
import { readFileSync } from "node:fs";

const MAGIC = Buffer.from("\x89MCAP0\r\n", "latin1");
const decompressHandlers = { zstd: (bytes, size) => decompress(bytes, new Uint8Array(Number(size))) };

/// Counts messages by topic, and parses each.
class Counter {
  channels = new Map();
  topics = new Map();

  add(message) {
    const topic = this.channels.get(message.channelId).topic;
    JSON.parse(Buffer.from(message.data).toString("utf8"));
    this.topics.set(topic, (this.topics.get(topic) ?? 0) + 1);
  }
  text() {
    return [...this.topics].sort().map(([topic, count]) => `${topic} ${count}\n`).join("");
  }
}

function readThrough(bytes, isFinished) {
  const counter = new Counter();
  const reader = new McapStreamReader({ decompressHandlers, validateCrcs: true });
  reader.append(bytes);
  for (let record; (record = reader.nextRecord()); ) {
    if (record.type === "Channel") counter.channels.set(record.id, record);
    if (record.type === "Message") counter.add(record);
  }
  if (reader.done() !== isFinished) throw new Error("the reader and the closing magic disagree about the end");
  return counter.text();
}

async function readByIndex(bytes) {
  const reader = await McapIndexedReader.Initialize({
    readable: {
      size: async () => BigInt(bytes.length),
      read: async (offset, size) => bytes.subarray(Number(offset), Number(offset + size)),
    },
    decompressHandlers,
  });
  const counter = new Counter();
  counter.channels = reader.channelsById;
  for await (const message of reader.readMessages()) counter.add(message);
  for (const [id, count] of reader.statistics.channelMessageCounts) {
    const topic = reader.channelsById.get(id).topic;
    if (counter.topics.get(topic) !== Number(count)) throw new Error(`the statistics of ${topic} say ${count}`);
  }
  const about = [];
  for await (const entry of reader.readMetadata({ name: "recording" })) about.push(entry);
  if (about.length !== 1) throw new Error(`${about.length} metadata records "recording" instead of 1`);
  return counter.text();
}

for (const path of process.argv.slice(2)) {
  const bytes = new Uint8Array(readFileSync(path));
  const isFinished = MAGIC.equals(bytes.subarray(-MAGIC.length));
  try {
    const text = readThrough(bytes, isFinished);
    if (text === "") throw new Error("no messages");
    if (isFinished && (await readByIndex(bytes)) !== text) throw new Error("the index leads to other messages");
    process.stdout.write(`${path}: ${isFinished ? "finished" : "breaks off"}\n${text}`);
  } catch (error) {
    process.stderr.write(`check-mcap: ${path}: ${error.message}\n`);
    process.exitCode = 1;
  }
}
