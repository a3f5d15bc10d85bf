// Recordings of other programs: fields become keys, images become cameras.
#include "recorded_walk.h"
#include "replay/player.h"

#include <gmock/gmock.h>
#include <google/protobuf/descriptor.pb.h>
#include <gtest/gtest.h>

#include <recorded_robot/parsed_schemas.h>
#include <recorded_robot/recorded_robot.h>
#include <ros2_message/message_values.h>
#include <stdexcept>

namespace robot_test {
namespace {

using recording::Writer;
using recording::WriterOptions;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

/** A file with messages at consecutive milliseconds. */
class ForeignFile {
  public:
    explicit ForeignFile(const std::string& name)
        : fPath(pathOf(name)), fWriter(fPath, options()) {}

    void add(const std::string& topic, const std::string& encoding, const std::string& schema,
             const std::string& schemaEncoding, const std::string& schemaData,
             const std::vector<std::string>& messages) {
        const std::uint16_t schemaId =
            schema.empty() ? 0 : fWriter.addSchema(schema, schemaEncoding, schemaData);
        const std::uint16_t channel = fWriter.addChannel(schemaId, topic, encoding);
        for (const std::string& message : messages) {
            fTime += a_millisecond;
            fWriter.write({channel, 0, fTime, fTime, message});
        }
    }

    /** Finishes the file and goes to its end. */
    void open() {
        fWriter.finish();
        fReader = std::make_unique<recording::Reader>(fPath);
        const std::vector<recorded_robot::RecordedRobot> robots =
            recorded_robot::robotsOf(*fReader);
        ASSERT_EQ(1U, robots.size());
        EXPECT_EQ("", robots[0].fName);
        fStage = std::make_unique<robot::Stage>(
            *fReader, robots[0], [this](const std::string& line) { fComplaints.push_back(line); });
        robot::PlayerOptions options;
        options.fIsPaused = true;
        fPlayer = std::make_unique<robot::Player>(*fReader, *fStage, options,
                                                  [](const robot::PlayerState&) {});
    }

    void seekEnd() { fPlayer->seek(fPlayer->end()); }
    robot::Player& player() { return *fPlayer; }
    robot::Stage& stage() { return *fStage; }
    const std::vector<std::string>& complaints() const { return fComplaints; }

    KVValue::Map values() const {
        KVValue::Map values;
        for (const KVKeyInfo& key : fStage->memory()->getValues()->getKeys()) {
            const KVValue value = fStage->memory()->getValues()->getValue(key.fName).fValue;
            if (!value.isNothing()) {
                values[key.fName] = value;
            }
        }
        return values;
    }

  private:
    static WriterOptions options() {
        WriterOptions options;
        options.fOverwrites = true;
        return options;
    }

    const std::string fPath;
    Writer fWriter;
    std::uint64_t fTime = a_start;
    std::vector<std::string> fComplaints;
    std::unique_ptr<recording::Reader> fReader;
    std::unique_ptr<robot::Stage> fStage;
    std::unique_ptr<robot::Player> fPlayer;
};

TEST(Foreign, FieldsOfJsonBecomeKeys) {
    ForeignFile file("json.mcap");
    file.add("/imu/data", "json", "", "", "",
             {R"({"old":1,"orientation":{"x":1}})",
              R"({"orientation":{"x":0.5,"y":2},"name":"a","on":true,"list":[1,2.5],"big":1e20,)"
              R"("none":null,"large":18446744073709551615})"});
    file.add("plain", "json", "", "", "", {"7", "no JSON", "{\"unfinished\":"});
    file.open();
    file.seekEnd();
    const KVValue::Map expected{{"imu/data/orientation/x", 0.5},
                                {"imu/data/orientation/y", 2},
                                {"imu/data/name", "a"},
                                {"imu/data/on", true},
                                {"imu/data/list", KVValue::List{1, 2.5}},
                                {"imu/data/big", 1e20},
                                {"imu/data/large", 18446744073709551615.0}};
    EXPECT_EQ(KVValue(expected), KVValue(file.values()));
    // The newest message has none of the fields: a straight reading says the same.
    file.player().seek(a_start + 3 * a_millisecond);
    KVValue::Map plain = expected;
    plain["plain"] = 7;
    EXPECT_EQ(KVValue(plain), KVValue(file.values()));
    file.player().seek(file.player().start());
    file.player().step(1, "");
    EXPECT_EQ(KVValue(expected), KVValue(file.values()));
}

std::string deep(int levels) {
    return std::string(static_cast<std::size_t>(levels), '[') +
           std::string(static_cast<std::size_t>(levels), ']');
}

TEST(Foreign, JsonThatIsTooDeepHasNoValue) {
    ForeignFile file("deep.mcap");
    file.add("/deep", "json", "", "", "", {deep(1'000'000)});
    file.add("/shallow", "json", "", "", "", {deep(60)});
    file.open();
    file.seekEnd();
    const KVValue::Map values = file.values();
    EXPECT_EQ(0U, values.count("deep"));
    EXPECT_EQ(1U, values.count("shallow"));
}

/** The schema of a message with fields of all kinds. */
std::string thingSchema() {
    using google::protobuf::FieldDescriptorProto;
    google::protobuf::FileDescriptorSet set;
    google::protobuf::FileDescriptorProto& file = *set.add_file();
    file.set_name("thing.proto");
    file.set_package("maker");
    file.set_syntax("proto3");
    google::protobuf::DescriptorProto& inner = *file.add_message_type();
    inner.set_name("Inner");
    google::protobuf::DescriptorProto& thing = *file.add_message_type();
    thing.set_name("Thing");
    const auto addField = [](google::protobuf::DescriptorProto& message, const char* name,
                             int number, FieldDescriptorProto::Type type, bool isRepeated = false,
                             const char* typeName = nullptr) {
        FieldDescriptorProto& field = *message.add_field();
        field.set_name(name);
        field.set_number(number);
        field.set_type(type);
        field.set_label(isRepeated ? FieldDescriptorProto::LABEL_REPEATED
                                   : FieldDescriptorProto::LABEL_OPTIONAL);
        if (typeName != nullptr) {
            field.set_type_name(typeName);
        }
    };
    addField(inner, "x", 1, FieldDescriptorProto::TYPE_DOUBLE);
    addField(thing, "count", 1, FieldDescriptorProto::TYPE_INT32);
    addField(thing, "inner", 2, FieldDescriptorProto::TYPE_MESSAGE, false, ".maker.Inner");
    addField(thing, "many", 3, FieldDescriptorProto::TYPE_MESSAGE, true, ".maker.Inner");
    addField(thing, "text", 4, FieldDescriptorProto::TYPE_STRING);
    addField(thing, "numbers", 5, FieldDescriptorProto::TYPE_UINT32, true);
    return set.SerializeAsString();
}

TEST(Foreign, FieldsOfProtobufBecomeKeys) {
    using namespace std::string_literals;
    const std::string half = "\x09\0\0\0\0\0\0\xE0\x3F"s;  // x: 0.5
    ForeignFile file("protobuf.mcap");
    file.add("/thing", "protobuf", "maker.Thing", "protobuf", thingSchema(),
             {"\x08\x07\x12\x09"s + half + "\x1A\x09" + half + "\x22\x02hi\x2A\x02\x01\x02"s});
    file.add("/none", "protobuf", "maker.Missing", "protobuf", thingSchema(), {"\x08\x07"});
    file.add("/broken", "protobuf", "maker.Thing", "protobuf", "no schema", {"\x08\x07"});
    file.add("/cut", "protobuf", "maker.Thing", "protobuf", thingSchema(), {"\x12\x09"});
    file.open();
    file.seekEnd();
    EXPECT_EQ(KVValue(KVValue::Map{{"thing/count", 7},
                                   {"thing/inner/x", 0.5},
                                   {"thing/many/0/x", 0.5},
                                   {"thing/text", "hi"},
                                   {"thing/numbers", KVValue::List{1, 2}}}),
              KVValue(file.values()));
    EXPECT_THAT(file.complaints(),
                UnorderedElementsAre(HasSubstr("not replayed: /none: The schema maker.Missing"),
                                     HasSubstr("not replayed: /broken: The schema maker.Thing "
                                               "cannot be used: it is not a FileDescriptorSet")));
}

TEST(Foreign, ProtobufDoesNotComplainAboutInvalidTexts) {
    ForeignFile file("invalid.mcap");
    file.add("/thing", "protobuf", "maker.Thing", "protobuf", thingSchema(), {"\x22\x02\xFF\xFE"});
    file.add("/broken", "protobuf", "maker.Thing", "protobuf", "\x0A\x06\x0A\x04\xFF\xFE\xFD\xFC",
             {"\x08\x07"});
    ::testing::internal::CaptureStderr();
    file.open();
    file.seekEnd();
    EXPECT_EQ("", ::testing::internal::GetCapturedStderr());
    EXPECT_EQ(0U, file.values().count("thing/text"));
}

TEST(Foreign, ImagesBecomeCameras) {
    ForeignFile file("images.mcap");
    file.add("/cam/left", "json", "foxglove.RawImage", "jsonschema", "{}",
             {R"({"width":2,"height":1,"step":2,"encoding":"mono8","data":"/wE="})"});
    file.add("/cam/png", "json", "foxglove.CompressedImage", "jsonschema", "{}",
             {R"({"format":"png","data":"AAAA"})"});
    file.add("/cam/bad", "protobuf", "foxglove.RawImage", "protobuf", "", {"\x32\xFF\xFF"});
    file.open();
    ASSERT_NE(nullptr, file.stage().video());
    const KVValue cameras = file.stage().video()->invoke("getCameras", {});
    ASSERT_EQ(1U, cameras.toList().size());
    EXPECT_EQ(KVValue("cam/left"), cameras.toList()[0].toMap().at("name"));
    EXPECT_EQ(KVValue("grey"), cameras.toList()[0].toMap().at("settings").toMap().at("format"));
    EXPECT_THAT(file.complaints(),
                ElementsAre("not replayed: /cam/png: its first picture cannot be shown",
                            "not replayed: /cam/bad: its first picture cannot be shown"));
}

TEST(Foreign, PicturesThatNoRobotSendsAreConverted) {
    ForeignFile file("converted.mcap");
    file.add("/cam/bgr", "json", "foxglove.RawImage", "jsonschema", "{}",
             {R"({"width":1,"height":1,"step":3,"encoding":"bgr8","data":"AQID"})"});
    // Two grey pixels.
    const std::string png =
        "iVBORw0KGgoAAAANSUhEUgAAAAIAAAABCAAAAADRSSBWAAAAC0lEQVR4nGP4zwgAAgIBAauo"
        "JzAAAAAASUVORK5CYII=";
    file.add("/cam/png", "json", "foxglove.CompressedImage", "jsonschema", "{}",
             {R"({"format":"png","data":")" + png + R"("})"});
    file.open();
    ASSERT_NE(nullptr, file.stage().video());
    std::map<std::string, std::string> formats;
    const KVValue cameras = file.stage().video()->invoke("getCameras", {});
    for (const KVValue& camera : cameras.toList()) {
        formats[camera.toMap().at("name").toString()] =
            camera.toMap().at("settings").toMap().at("format").toString();
    }
    EXPECT_THAT(formats, ElementsAre(Pair("cam/bgr", "rgb"), Pair("cam/png", "grey")));
}

// The bytes are written down from the definitions and the rules of CDR.
TEST(Foreign, MessagesOfRos2HaveTheKeysOfTheBridge) {
    using namespace std::string_literals;
    const std::string header = "\0\1\0\0"s;
    const std::string stamp = "\1\0\0\0\2\0\0\0"s;
    const std::string one = "\1\0\0\0"s;
    const std::string half = "\0\0\0\0\0\0\xE0\x3F"s;
    const std::string joints =
        "std_msgs/Header header\nstring[] name\nfloat64[] position\nfloat64[] velocity\n"
        "float64[] effort\n"
        "================================================================================\n"
        "MSG: std_msgs/Header\nbuiltin_interfaces/Time stamp\nstring frame_id\n"
        "================================================================================\n"
        "MSG: builtin_interfaces/Time\nint32 sec\nuint32 nanosec\n";
    ForeignFile file("cdr.mcap");
    file.add("/left/joint_states", "cdr", "sensor_msgs/msg/JointState", "ros2msg", joints,
             {header + stamp + one + "\0\0\0\0"s + one + "\5\0\0\0Knee\0\0\0\0"s + one +
                  "\0\0\0\0"s + half + "\0\0\0\0\0\0\0\0"s,
              "no CDR"});
    file.add("/arm", "cdr", "maker/msg/Arm", "ros2msg",
             "uint8 OFF=0  # a constant\nuint8 mode 1\nJoint[2] joints\nstring<=5[<=2] names\n"
             "===\nMSG: maker/Joint\nint16 turns\n",
             {header + "\3\0\xFF\xFF\7\0\0\0"s + one + "\2\0\0\0A\0"s});
    file.add("/volume", "cdr", "std_msgs/Int8", "", "", {header + "\5"s});
    file.add("/large", "cdr", "std_msgs/msg/Int8", "", "",
             {header + std::string(ros2_message::a_largestMessage, '\5')});
    file.open();
    file.player().seek(a_start + a_millisecond);
    EXPECT_EQ(KVValue(0.5), KVValue(file.values()["left/Joint/Knee/Position"]));
    file.seekEnd();
    EXPECT_EQ(KVValue(KVValue::Map{{"arm/mode", 3},
                                   {"arm/joints/0/turns", -1},
                                   {"arm/joints/1/turns", 7},
                                   {"arm/names/0", "A"},
                                   {"volume", 5}}),
              KVValue(file.values()));
    EXPECT_TRUE(file.complaints().empty());
}

TEST(Foreign, MessagesOfRos2WithoutFieldsHaveTheMemberThatItAdds) {
    using namespace std::string_literals;
    ForeignFile file("ros2_empty.mcap");
    file.add("/stop", "cdr", "std_msgs/msg/Empty", "ros2msg", "", {"\0\1\0\0\0"s});
    file.open();
    file.seekEnd();
    EXPECT_EQ(KVValue(KVValue::Map{{"stop/structure_needs_at_least_one_member", 0}}),
              KVValue(file.values()));
    EXPECT_TRUE(file.complaints().empty());
}

TEST(Foreign, PicturesOfRos2BecomeCameras) {
    using namespace std::string_literals;
    const std::string start = "\0\1\0\0\1\0\0\0\2\0\0\0\1\0\0\0\0\0\0\0"s;
    ForeignFile file("ros2_images.mcap");
    file.add("/cam/left", "cdr", "sensor_msgs/msg/Image", "ros2msg", "",
             {start + "\1\0\0\0\2\0\0\0\6\0\0\0mono8\0\0\0\2\0\0\0\2\0\0\0\x10\x20"s});
    file.add("/cam/bad", "cdr", "sensor_msgs/msg/CompressedImage", "ros2msg", "", {start});
    file.open();
    ASSERT_NE(nullptr, file.stage().video());
    const KVValue cameras = file.stage().video()->invoke("getCameras", {});
    ASSERT_EQ(1U, cameras.toList().size());
    EXPECT_EQ(KVValue("cam/left"), cameras.toList()[0].toMap().at("name"));
    EXPECT_THAT(file.complaints(),
                ElementsAre("not replayed: /cam/bad: its first picture cannot be shown"));
}

TEST(Foreign, WhatCannotBeReadIsNamed) {
    ForeignFile file("unread.mcap");
    file.add("/odom", "ros1", "nav_msgs/Odometry", "ros1msg", "int32 x", {"1234"});
    file.add("/wide", "cdr", "maker/msg/Wide", "ros2msg", "wstring text", {"1234"});
    file.add("/idl", "cdr", "maker/msg/Idl", "ros2idl", "module maker {};", {"1234"});
    file.add("/bare", "cdr", "", "", "", {"1234"});
    file.add("/own", "cdr", "maker/msg/Own", "ros2msg", "", {"1234"});
    file.add("/idl2", "cdr", "maker/msg/Idl", "ros2idl", "module maker {};", {"1234"});
    const std::string tooLong = '/' + std::string(5000, 'x');
    file.add(tooLong, "cdr", "std_msgs/msg/Int8", "", "", {"1234"});
    file.add("/ok", "json", "", "", "", {"1"});
    file.open();
    EXPECT_THAT(file.complaints(),
                UnorderedElementsAre(
                    "not replayed: /odom: the encoding 'ros1' is not supported",
                    "not replayed: /wide: The schema maker/msg/Wide cannot be used: "
                    "maker/msg/Wide: there is no type wstring.",
                    "not replayed: /idl: its type is not known, and has no schema 'ros2msg'",
                    "not replayed: /idl2: its type is not known, and has no schema 'ros2msg'",
                    "not replayed: /own: its type is not known, and has no schema 'ros2msg'",
                    "not replayed: /bare: it has no schema", StartsWith("not replayed: /xxx")));
}

TEST(Foreign, ASchemaIsParsedOnceForAllItsChannels) {
    recorded_robot::ParsedSchemas schemas;
    const recording::Schema arm{1, "maker/msg/Arm", "ros2msg", "int8 load"};
    const auto type = schemas.ros2(arm);
    EXPECT_EQ(type, schemas.ros2(arm));
    const recording::Schema large{2, "maker/msg/Leg", "ros2msg",
                                  "int8 load #" + std::string(std::size_t{16} << 20U, ' ')};
    EXPECT_THROW(schemas.ros2(large), std::runtime_error);
}

}  // namespace
}  // namespace robot_test
