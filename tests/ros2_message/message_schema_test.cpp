// The texts of schemas in recordings, which strangers may have written.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ros2_message/message_schema.h>
#include <ros2_message/message_table.h>
#include <ros2_message/message_values.h>
#include <stdexcept>
#include <string>

using ros2_message::FieldKind;
using ros2_message::knownType;
using ros2_message::Repetition;
using ros2_message::typeOfSchema;
using testing::HasSubstr;

namespace {

const std::string a_vector = "===\nMSG: geometry_msgs/Vector3\nfloat64 x\nfloat64 y\nfloat64 z\n";

/** Returns the reason for which a schema of maker/msg/Arm is refused. */
std::string refusal(const std::string& text) {
    try {
        typeOfSchema("maker/msg/Arm", text);
    } catch (const std::runtime_error& refused) {
        return refused.what();
    }
    return "it is not refused";
}

/** Returns definitions maker/T1 to maker/TN, each of which has the one before as a field. */
std::string chain(int length) {
    std::string text;
    for (int i = 1; i <= length; ++i) {
        text += "===\nMSG: maker/T" + std::to_string(i) + "\nint8 own\n";
        text += i > 1 ? 'T' + std::to_string(i - 1) + " part\n" : std::string();
    }
    return text;
}

}  // namespace

TEST(MessageSchema, readsFieldsAndSkipsTheRest) {
    const auto type = typeOfSchema("maker/msg/Arm",
                                   "# comment\r\n\r\nint8 ON=1\nstring NAME = \"a # = b\"\n"
                                   "float32 load 0.5 # default\nstring<=10 name \"x=y\"\n"
                                   "int32[3] three [1, 2, 3]\nbool[<=4] flags\nPart[] parts\n"
                                   "===\nMSG: maker/msg/Part\nuint64 serial");
    ASSERT_EQ(type->fields().size(), 5U);
    EXPECT_EQ(type->fields()[0].fName, "load");
    EXPECT_EQ(type->fields()[0].fKind, FieldKind::Float32);
    EXPECT_EQ(type->fields()[1].fKind, FieldKind::Text);
    EXPECT_EQ(type->fields()[2].fRepetition, Repetition::Array);
    EXPECT_EQ(type->fields()[2].fCount, 3U);
    EXPECT_EQ(type->fields()[3].fRepetition, Repetition::Sequence);
    EXPECT_EQ(type->fields()[4].fMessage->name(), "maker/msg/Part");
    EXPECT_EQ(type->fields()[4].fMessage->fields()[0].fKind, FieldKind::UInt64);
}

TEST(MessageSchema, isTheKnownTypeOnlyIfItIsDescribedAlike) {
    const std::string name = "geometry_msgs/msg/Twist";
    EXPECT_EQ(typeOfSchema(name, "Vector3 linear\nVector3 angular\n" + a_vector), knownType(name));
    for (const char* const fields :
         {"Vector3 angular\nVector3 linear\n", "Vector3 linear\n",
          "Vector3 linear\nVector3[1] angular\n", "Vector3 linear\nfloat64 angular\n"}) {
        const auto type = typeOfSchema(name, fields + a_vector);
        EXPECT_NE(type, knownType(name)) << fields;
        EXPECT_EQ(type->fields()[0].fMessage, knownType("geometry_msgs/msg/Vector3"));
    }
}

// A message has at least one byte: what makes messages gives those without fields a member.
TEST(MessageSchema, describesMessagesWithoutFields) {
    const auto type = typeOfSchema("maker/msg/Arm",
                                   "Stop stop\nint32 left\n===\nMSG: maker/Stop\n"
                                   "# only a constant\nint8 NOW=1\n");
    const unsigned char message[] = {0, 1, 0, 0, 0, 0, 0, 0, 7, 0, 0, 0};
    const auto values = valuesOf(*type, "arm", {message, sizeof message}, 1);
    ASSERT_TRUE(values.fIsGood);
    EXPECT_EQ(values.fValues.back().fName, "arm/left");
    EXPECT_EQ(values.fValues.back().fValue, KVValue(7));
    EXPECT_EQ(typeOfSchema("maker/msg/Arm", "")->smallest(), 1U);
}

TEST(MessageSchema, refusesWhatDoesNotDescribeAMessage) {
    EXPECT_EQ(refusal("wstring text"),
              "The schema maker/msg/Arm cannot be used: maker/msg/Arm: there is no type wstring.");
    EXPECT_THAT(refusal("int8"), HasSubstr("it has the line 'int8', which is not a field"));
    EXPECT_THAT(refusal("int8 x\n===\nIDL: maker/Arm"), HasSubstr("it has no 'MSG:'"));
    EXPECT_THAT(refusal("int8 " + std::string(200, 'x')), HasSubstr("which is not a field"));
    EXPECT_THAT(refusal("int8 x\n===\nMSG: maker/" + std::string(250, 'x')), HasSubstr("too long"));
    for (const char* const type : {"int8[", "int8[3", "int8[0]", "int8[99999999999]", "int8[x]",
                                   "int8[2][2]", "int8[-1]", "int8[16777217]"}) {
        EXPECT_THAT(refusal(std::string(type) + " x"), HasSubstr("there is no type")) << type;
    }
}

TEST(MessageSchema, boundsItsDepthAndSize) {
    EXPECT_THAT(refusal("Arm self"), HasSubstr("it describes 'maker/msg/Arm' by itself"));
    EXPECT_THAT(refusal("Other x\n===\nMSG: maker/Other\nArm[] arms"), HasSubstr("by itself"));
    EXPECT_EQ(refusal("T11 part\n" + chain(11)), "it is not refused");
    EXPECT_THAT(refusal("T12 part\n" + chain(12)), HasSubstr("it is too deep"));
    // Each type is read at a small depth, and has the one before as a part.
    std::string all;
    for (int i = 1; i <= 50; ++i) {
        all += 'T' + std::to_string(i) + " part" + std::to_string(i) + '\n';
    }
    EXPECT_THAT(refusal(all + chain(50)), HasSubstr("it is too deep"));
    std::string many;
    for (int i = 0; i < 5000; ++i) {
        many += "int8 x\n";
    }
    EXPECT_THAT(refusal(many), HasSubstr("it has more than 4096 fields"));
}

// A part of four parts of four parts ... has more numbers than any message has bytes.
TEST(MessageSchema, readsAMessageThatIsShorterThanItsType) {
    std::string text = "T9 a\nT9 b\nT9 c\nT9 d\n";
    for (int i = 1; i <= 9; ++i) {
        const std::string part = i > 1 ? 'T' + std::to_string(i - 1) : "int64[16777216]";
        text += "===\nMSG: maker/T" + std::to_string(i) + '\n';
        for (const char* const name : {" a\n", " b\n", " c\n", " d\n"}) {
            text += part + name;
        }
    }
    const auto type = typeOfSchema("maker/msg/Arm", text);
    const unsigned char message[] = {0, 1, 0, 0, 1, 2, 3, 4};
    EXPECT_FALSE(valuesOf(*type, "arm", {message, sizeof message}, 1).fIsGood);
}
