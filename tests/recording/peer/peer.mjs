// A reader and a writer of recordings that are not Obvista's. See peer_test.py.
//
//   node peer.mjs read FILE            everything in the file, read in two ways, as JSON
//   node peer.mjs decode FILE          every message, decoded by its channel's schema
//   node peer.mjs write-fields FILE    a file as another program writes it
//   node peer.mjs write-layout FILE N  a file in the layout of a kind of program, see layouts
//   node peer.mjs write FILE OPTIONS   a file as OPTIONS (JSON) say; its content as JSON
import { crc32 } from "@foxglove/crc";
import { parse as parseRos2 } from "@foxglove/rosmsg";
import { MessageWriter as Ros2Writer } from "@foxglove/rosmsg2-serialization";
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
  const tf = await add("/tf", "cbor", "maker.Frames", "jsonschema", text("{}"));
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

const text = (value) => new TextEncoder().encode(value);
const everyIndexMissing = {
  useStatistics: false,
  useSummaryOffsets: false,
  useChunkIndex: false,
  useMessageIndex: false,
  repeatChannels: false,
  repeatSchemas: false,
  useAttachmentIndex: false,
  useMetadataIndex: false,
};

// A message of a type that other files define, with all kinds of fields.
function nestedProtobuf() {
  const parse = (root, source) => protobuf.parse(source, root, { keepCase: true });
  const root = new protobuf.Root();
  parse(
    root,
    `syntax = "proto3"; package google.protobuf;
     message Timestamp { int64 seconds = 1; int32 nanos = 2; }`,
  );
  parse(
    root,
    `syntax = "proto3"; package maker.parts;
     message Motor { double load = 1; enum Mode { OFF = 0; ON = 1; } Mode mode = 2; }`,
  );
  parse(
    root,
    `syntax = "proto3"; package maker;
     message Body {
       message Limb {
         google.protobuf.Timestamp stamp = 1;
         repeated maker.parts.Motor motors = 2;
         oneof tool { string gripper = 3; int32 drill = 4; }
         uint64 serial = 5;
         bytes raw = 6;
         repeated bool flags = 7;
       }
     }`,
  );
  root.resolveAll();
  const files = root.toDescriptor("proto3");
  // The imports, which protobufjs leaves out.
  const maker = files.file.find((each) => each.package === "maker");
  maker.dependency = files.file.filter((each) => each !== maker).map((each) => each.name);
  return {
    type: root.lookupType("maker.Body.Limb"),
    schema: protobufDescriptor.FileDescriptorSet.encode(files).finish(),
  };
}

// Definitions as ROS 2 writes them into recordings.
const ros2Types = {
  "builtin_interfaces/Time": "# A point in time.\nint32 sec\nuint32 nanosec  # below 10e9\n",
  "std_msgs/Header": "builtin_interfaces/Time stamp\n\nstring frame_id\n",
  "geometry_msgs/Vector3": "float64 x\nfloat64 y\nfloat64 z\n",
  "geometry_msgs/Quaternion": "float64 x 0\nfloat64 y 0\nfloat64 z 0\nfloat64 w 1\n",
  "maker/Joint": "int16 turns\nmaker/Motor[<=3] motors\n",
  "maker/Motor": "float32 load 0.5  # a default value\nuint64 serial\n",
};

// A channel of ROS 2, whose message somebody else's encoder makes of the same definitions.
function ros2Channel(topic, type, definition, parts, message) {
  const separator = "=".repeat(80);
  const schema = [definition, ...parts.map((part) => `MSG: ${part}\n${ros2Types[part]}`)].join(`${separator}\n`);
  const data = new Ros2Writer(parseRos2(schema, { ros2: true })).writeMessage(message);
  return [topic, "cdr", type, "ros2msg", text(schema), data];
}

const stamp = { sec: 1700000000, nanosec: 5000 };

function ros2Channels() {
  const header = { stamp, frame_id: "base" };
  const vector = (x) => ({ x, y: x + 1, z: x + 2 });
  const covariance = Array.from({ length: 9 }, (_, i) => i / 2);
  const ofHeader = ["std_msgs/Header", "builtin_interfaces/Time"];
  return [
    ros2Channel(
      "/left/joint_states",
      "sensor_msgs/msg/JointState",
      "# The state of joints.\n\nstd_msgs/Header header\n\nstring[] name\nfloat64[] position\nfloat64[] velocity\nfloat64[] effort\n",
      ofHeader,
      { header, name: ["Knee", "Hip"], position: [0.5, -1.5], velocity: [2, 3], effort: [] },
    ),
    ros2Channel(
      "/imu/data",
      "sensor_msgs/msg/Imu",
      `std_msgs/Header header
geometry_msgs/Quaternion orientation
float64[9] orientation_covariance # Row major about x, y, z axes
geometry_msgs/Vector3 angular_velocity
float64[9] angular_velocity_covariance
geometry_msgs/Vector3 linear_acceleration
float64[9] linear_acceleration_covariance
`,
      ["geometry_msgs/Quaternion", "geometry_msgs/Vector3", ...ofHeader],
      {
        header,
        orientation: { ...vector(0), w: 1 },
        orientation_covariance: covariance,
        angular_velocity: vector(10),
        angular_velocity_covariance: covariance,
        linear_acceleration: vector(20),
        linear_acceleration_covariance: covariance,
      },
    ),
    ros2Channel(
      "/arm",
      "maker/msg/Arm",
      `uint8 OFF=0
string NAME="a # b"
bool on true
Joint[2] joints
string<=5[<=2] labels
int64 offset
byte[] raw
builtin_interfaces/Time since
`,
      ["maker/Joint", "maker/Motor", "builtin_interfaces/Time"],
      {
        on: true,
        joints: [
          { turns: -1, motors: [{ load: 0.25, serial: 9n }, { load: 4, serial: 10n }] },
          { turns: 7, motors: [] },
        ],
        labels: ["A", ""],
        offset: -5n,
        raw: [1, 255],
        since: stamp,
      },
    ),
    ros2Channel(
      "/camera/image",
      "sensor_msgs/msg/Image",
      "std_msgs/Header header\nuint32 height\nuint32 width\nstring encoding\nuint8 is_bigendian\nuint32 step\nuint8[] data\n",
      ofHeader,
      { header, height: 1, width: 2, encoding: "mono8", is_bigendian: 0, step: 2, data: new Uint8Array([1, 2]) },
    ),
  ];
}

// Channels with their messages, as kinds of programs write them.
const layouts = {
  ros2: () => ({
    profile: "ros2",
    library: "libmcap 1.1.0",
    metadata: ["rosbag2", new Map([["serialized_metadata", "rosbag2_bagfile_information:\n"]])],
    channels: [
      ...ros2Channels(),
      ["/idl", "cdr", "maker/msg/Idl", "ros2idl", text("module maker {};"), new Uint8Array(8)],
    ],
  }),
  ros1: () => ({
    profile: "ros1",
    channels: [["/odom", "ros1", "nav_msgs/Odometry", "ros1msg", text("Header header\n"), new Uint8Array(4)]],
  }),
  // Values beside channels that nobody here reads.
  mixed: () => ({
    channels: [
      ["/log", "json", "foxglove.Log", "jsonschema", text('{"type":"object"}'), text('{"timestamp":{"sec":1,"nsec":5},"level":2,"message":"hi","file":null}')],
      ["/poses", "json", "foxglove.PosesInFrame", "jsonschema", text("{}"), text('{"frame_id":"map","poses":[{"position":{"x":1}}]}')],
      ["no/schema", "json", undefined, undefined, undefined, text('{"a":{"b":true}}')],
      ["/number", "json", undefined, undefined, undefined, text("-7.5")],
      ["/cbor", "cbor", undefined, undefined, undefined, new Uint8Array([0xa0])],
      ["/flat", "flatbuffer", "maker.Flat", "flatbuffer", new Uint8Array(4), new Uint8Array(8)],
      ["/blob", "", undefined, undefined, undefined, new Uint8Array([1, 2])],
      ["/proto", "protobuf", undefined, undefined, undefined, new Uint8Array([8, 1])],
      ["/wrong", "protobuf", "maker.Wrong", "protobuf", new Uint8Array([1, 2, 3]), new Uint8Array([8, 1])],
    ],
  }),
  nested: () => {
    const { type, schema } = nestedProtobuf();
    const message = type.encode(
      type.fromObject({
        stamp: { seconds: 12, nanos: 34 },
        motors: [{ load: 0.5, mode: 1 }, { load: -1 }],
        drill: 6,
        serial: 99,
        raw: new Uint8Array([1, 2]),
        flags: [true, false],
      }),
    );
    return { channels: [["/limb", "protobuf", "maker.Body.Limb", "protobuf", schema, message.finish()]] };
  },
  bare: () => ({
    options: { ...everyIndexMissing, useChunks: false },
    channels: [["/imu", "json", "Imu", "jsonschema", text("{}"), text('{"x":1}')]],
  }),
  compressed: () => ({
    options: { compressChunk: (data) => ({ compression: "snappy", compressedData: data }) },
    channels: [["/imu", "json", "Imu", "jsonschema", text("{}"), text('{"x":1}')]],
  }),
};

async function writeLayout(path, name) {
  const { profile = "", library = "not Obvista", metadata, options, channels } = layouts[name]();
  const file = await open(path, "wx");
  const writer = new McapWriter({ writable: new nodejs.FileHandleWritable(file), ...options });
  await writer.start({ profile, library });
  if (metadata) await writer.addMetadata({ name: metadata[0], metadata: metadata[1] });
  for (const [topic, messageEncoding, schemaName, encoding, data, message] of channels) {
    const schemaId = schemaName ? await writer.registerSchema({ name: schemaName, encoding, data }) : 0;
    const channelId = await writer.registerChannel({ topic, messageEncoding, schemaId, metadata: new Map() });
    for (let sequence = 0; sequence < 3; ++sequence) {
      const time = 1700000000000000000n + BigInt(sequence) * 10000000n;
      await writer.addMessage({ channelId, sequence, logTime: time, publishTime: time, data: message });
    }
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
} else if (command === "write-layout") {
  result = await writeLayout(path, options);
} else {
  result = await write(path, JSON.parse(options));
}
process.stdout.write(json(result) + "\n");
