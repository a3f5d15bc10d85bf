// A reader and a writer of recordings that are not Obvista's. See peer_test.py.
//
//   node peer.mjs read FILE            everything in the file, read in two ways, as JSON
//   node peer.mjs decode FILE          every message, decoded by its channel's schema
//   node peer.mjs write-fields FILE    a file as another program writes it
//   node peer.mjs write FILE OPTIONS   a file as OPTIONS (JSON) say; its content as JSON
import { crc32 } from "@foxglove/crc";
import { McapIndexedReader, McapStreamReader, McapWriter } from "@mcap/core";
import nodejs from "@mcap/nodejs";
import { loadDecompressHandlers } from "@mcap/support";
import zstd from "@foxglove/wasm-zstd";
import protobuf from "protobufjs";
import protobufDescriptor from "protobufjs/ext/descriptor/index.js";
import { open, readFile } from "node:fs/promises";

const json = (value) =>
  JSON.stringify(value, (_, each) => {
    if (typeof each === "bigint") return each.toString();
    if (each instanceof Uint8Array) return Buffer.from(each).toString("hex");
    if (each instanceof Map) return Object.fromEntries([...each].map(([k, v]) => [String(k), v]));
    return each;
  });

const plainMessage = (message) => ({
  channel: message.channelId,
  sequence: message.sequence,
  logTime: message.logTime,
  publishTime: message.publishTime,
  // The texts of the tests are short; a large message is compared by its checksum.
  data: message.data.byteLength <= 256 ? message.data : `crc ${crc32(message.data)}`,
});

// Every record in the order of the file. The reader verifies the checksums of chunks and attachments.
async function readStream(path, decompressHandlers) {
  const reader = new McapStreamReader({ decompressHandlers, validateCrcs: true });
  const content = { messages: [], attachments: [], metadata: [], channels: {}, schemas: {}, records: {} };
  const take = () => {
    for (let record; (record = reader.nextRecord()); ) {
      content.records[record.type] = (content.records[record.type] ?? 0) + 1;
      if (record.type === "Message") content.messages.push(plainMessage(record));
      if (record.type === "Attachment") content.attachments.push(record);
      if (record.type === "Metadata") content.metadata.push(record);
      if (record.type === "Channel") content.channels[record.id] = record;
      if (record.type === "Schema") content.schemas[record.id] = record;
      if (record.type === "Header") content.header = record;
      if (record.type === "DataEnd") content.dataSectionCrc = record.dataSectionCrc;
    }
  };
  const bytes = await readFile(path);
  for (let start = 0; start < bytes.length; start += 65536) {
    reader.append(bytes.subarray(start, start + 65536));
    take();
  }
  content.isDone = reader.done();
  content.bytesRemaining = reader.bytesRemaining();
  return content;
}

// Through the indexes. The reader verifies the checksums of the summary and of chunks.
async function readIndexed(path, decompressHandlers) {
  const file = await open(path, "r");
  const reader = await McapIndexedReader.Initialize({
    readable: new nodejs.FileHandleReadable(file),
    decompressHandlers,
  });
  const content = {
    statistics: reader.statistics,
    chunks: reader.chunkIndexes,
    channels: reader.channelsById,
    schemas: reader.schemasById,
    messages: [],
    reversed: [],
    attachments: [],
    metadata: [],
    byTopic: {},
    dataEndOffset: reader.dataEndOffset,
    summaryOffsets: reader.summaryOffsetsByOpcode,
  };
  for await (const message of reader.readMessages({ validateCrcs: true }))
    content.messages.push(plainMessage(message));
  for await (const message of reader.readMessages({ reverse: true }))
    content.reversed.push(plainMessage(message));
  for (const channel of reader.channelsById.values()) {
    let count = 0;
    for await (const _ of reader.readMessages({ topics: [channel.topic] })) ++count;
    content.byTopic[channel.topic] = count;
  }
  for await (const attachment of reader.readAttachments()) content.attachments.push(attachment);
  for await (const metadata of reader.readMetadata()) content.metadata.push(metadata);
  // The reader does not compare the checksum of the data section.
  const data = (await readFile(path)).subarray(0, Number(reader.dataEndOffset));
  content.dataSectionCrc = { claimed: reader.dataSectionCrc, actual: crc32(data) };
  await file.close();
  return content;
}

async function write(path, options) {
  await zstd.isLoaded;
  const compressions = {
    zstd: (data) => ({ compression: "zstd", compressedData: zstd.compress(data, 3) }),
  };
  const file = await open(path, "wx");
  const { compression, messageCount, ...writerOptions } = options;
  const writer = new McapWriter({
    writable: new nodejs.FileHandleWritable(file),
    compressChunk: compressions[compression],
    ...writerOptions,
  });
  await writer.start({ profile: "peer", library: "not Obvista" });
  const schemaId = await writer.registerSchema({
    name: "Thing",
    encoding: "jsonschema",
    data: new TextEncoder().encode('{"type":"object"}'),
  });
  const channels = [];
  for (const topic of ["/one", "/two", "/zwölf"])
    channels.push(
      await writer.registerChannel({
        topic,
        schemaId: topic === "/two" ? 0 : schemaId,
        messageEncoding: "json",
        metadata: new Map([["unit", "°"]]),
      }),
    );
  const messages = [];
  for (let i = 0; i < messageCount; ++i) {
    // Not in the order of their times; some are equal.
    const message = {
      channelId: channels[i % 3],
      sequence: i,
      logTime: 1000n + BigInt((i * 7) % messageCount),
      publishTime: BigInt(i),
      data: new TextEncoder().encode(`{"i":${i},"text":"${"x".repeat(i % 50)}"}`),
    };
    await writer.addMessage(message);
    messages.push(plainMessage(message));
  }
  await writer.addAttachment({
    logTime: 5n,
    createTime: 6n,
    name: "icon.png",
    mediaType: "image/png",
    data: new Uint8Array([1, 2, 3]),
  });
  await writer.addMetadata({ name: "robot", metadata: new Map([["name", "peer"]]) });
  await writer.end();
  await file.close();
  return { messages };
}

// A file as another program writes it: fields in JSON and protobuf, a picture, and what nobody here reads.
async function writeFields(path) {
  const file = await open(path, "wx");
  const writer = new McapWriter({ writable: new nodejs.FileHandleWritable(file), chunkSize: 200 });
  await writer.start({ profile: "", library: "not Obvista" });
  const root = protobuf.parse(
    `syntax = "proto3"; package maker;
     message Point { double x = 1; }
     message Arm { int32 joints = 1; Point tip = 2; repeated float loads = 3; }`,
    { keepCase: true },
  ).root;
  const arm = root.lookupType("maker.Arm");
  const set = protobufDescriptor.FileDescriptorSet.encode(root.toDescriptor("proto3")).finish();
  const text = (value) => new TextEncoder().encode(value);
  const add = async (topic, messageEncoding, name, encoding, data) =>
    writer.registerChannel({
      topic,
      messageEncoding,
      schemaId: await writer.registerSchema({ name, encoding, data }),
      metadata: new Map(),
    });
  const imu = await add("/imu", "json", "Imu", "jsonschema", text('{"type":"object"}'));
  const arms = await add("/arm", "protobuf", "maker.Arm", "protobuf", set);
  const camera = await add("/camera", "json", "foxglove.RawImage", "jsonschema", text("{}"));
  const tf = await add("/tf", "cdr", "tf2_msgs/msg/TFMessage", "ros2msg", text("int32 x"));
  for (let i = 0; i < 50; ++i) {
    const time = 1700000000000000000n + BigInt(i) * 10000000n;
    const write = (channelId, data) =>
      writer.addMessage({ channelId, sequence: i, logTime: time, publishTime: time, data });
    await write(imu, text(JSON.stringify({ gyro: { x: i / 2 }, name: `n${i}` })));
    await write(arms, arm.encode({ joints: i, tip: { x: -i }, loads: [1, 2] }).finish());
    await write(camera, text(JSON.stringify({ width: 2, height: 1, step: 2, encoding: "mono8", data: "AQI=" })));
    await write(tf, new Uint8Array([1]));
  }
  await writer.end();
  await file.close();
  return {};
}

// Every message as a viewer shows it: by the schema of its channel, which is in the file.
async function decode(path, decompressHandlers) {
  const file = await open(path, "r");
  const reader = await McapIndexedReader.Initialize({
    readable: new nodejs.FileHandleReadable(file),
    decompressHandlers,
  });
  const decoders = new Map();
  for (const channel of reader.channelsById.values()) {
    const schema = reader.schemasById.get(channel.schemaId);
    if (channel.messageEncoding === "protobuf") {
      const set = protobufDescriptor.FileDescriptorSet.decode(schema.data);
      const type = protobuf.Root.fromDescriptor(set).lookupType(schema.name);
      decoders.set(channel.id, (data) => type.toObject(type.decode(data), { defaults: true, longs: String }));
    } else {
      decoders.set(channel.id, (data) => JSON.parse(new TextDecoder("utf-8", { fatal: true }).decode(data)));
    }
  }
  const messages = [];
  for await (const { channelId, logTime, publishTime, data } of reader.readMessages({ validateCrcs: true })) {
    const channel = reader.channelsById.get(channelId);
    const schema = reader.schemasById.get(channel.schemaId);
    messages.push({
      topic: channel.topic,
      schema: schema.name,
      type:
        schema.encoding === "jsonschema"
          ? JSON.parse(new TextDecoder().decode(schema.data)).properties.value?.type
          : undefined,
      logTime,
      publishTime,
      content: decoders.get(channelId)(data),
    });
  }
  await file.close();
  return { messages };
}

const [command, path, options] = process.argv.slice(2);
let result;
if (command === "read") {
  const handlers = await loadDecompressHandlers();
  result = { stream: await readStream(path, handlers), indexed: await readIndexed(path, handlers) };
} else if (command === "decode") {
  result = await decode(path, await loadDecompressHandlers());
} else if (command === "write-fields") {
  result = await writeFields(path);
} else {
  result = await write(path, JSON.parse(options));
}
process.stdout.write(json(result) + "\n");
