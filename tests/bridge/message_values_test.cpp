// Messages of ROS 2's common types, encoded by Fast CDR from the published definitions.

#include "fast_message.h"
#include "ros2/node_info.h"
#include "ros2/std_value.h"

#include <robaxi/kv_error.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <ros2_message/message_schema.h>
#include <ros2_message/message_table.h>
#include <ros2_message/message_values.h>
#include <set>
#include <sstream>
#include <type_traits>
#include <utility>

using eprosima::fastcdr::Cdr;
using obvista_test::a_stamp;
using obvista_test::FastMessage;
using ros2_message::Field;
using ros2_message::FieldKind;
using ros2_message::knownType;
using ros2_message::MessageType;
using ros2_message::MessageValues;
using ros2_message::NamedValue;
using ros2_message::typeOfSchema;
using ros2_message::valuesOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr std::int64_t a_arrival = 77;

std::string textOf(const KVValue& value) {
    std::ostringstream text;
    switch (value.type()) {
        case KVValue::Type::Bool:
            text << (value.toBool() ? "true" : "false");
            break;
        case KVValue::Type::Int:
            text << value.toInt();
            break;
        case KVValue::Type::Float:
            text << value.toFloat();
            break;
        case KVValue::Type::String:
            text << value.toString();
            break;
        default:
            text << '?';
    }
    return text.str();
}

/** Returns "name=value [unit]". */
std::string lineOf(const NamedValue& value) {
    const std::string unit(value.fUnit);
    return value.fName + '=' + textOf(value.fValue) + (unit.empty() ? "" : " [" + unit + ']');
}

/** Decodes a message with Fast CDR: the texts of its values, without stamps and names. */
class FastReader {
  public:
    explicit FastReader(std::vector<unsigned char> bytes)
        : fBytes(std::move(bytes)),
          fBuffer(reinterpret_cast<char*>(fBytes.data()), fBytes.size()),
          fCdr(fBuffer, Cdr::LITTLE_ENDIANNESS, Cdr::DDS_CDR) {
        fCdr.read_encapsulation();
    }

    std::vector<std::string> read(const MessageType& type) {
        xReadMessage(type, "");
        EXPECT_EQ(fCdr.getSerializedDataLength(), fBytes.size());
        return fTexts;
    }

  private:
    template <class Value>
    KVValue xNext() {
        Value value{};
        fCdr >> value;
        return KVValue(
            static_cast<std::conditional_t<
                std::is_integral_v<Value> && !std::is_same_v<Value, bool>, std::int64_t,
                std::conditional_t<std::is_same_v<Value, float>, double, Value>>>(value));
    }

    KVValue xNext(FieldKind kind) {
        switch (kind) {
            case FieldKind::Bool:
                return xNext<bool>();
            case FieldKind::Int8:
                return xNext<std::int8_t>();
            case FieldKind::UInt8:
                return xNext<std::uint8_t>();
            case FieldKind::Int16:
                return xNext<std::int16_t>();
            case FieldKind::UInt16:
                return xNext<std::uint16_t>();
            case FieldKind::Int32:
                return xNext<std::int32_t>();
            case FieldKind::UInt32:
                return xNext<std::uint32_t>();
            case FieldKind::Int64:
                return xNext<std::int64_t>();
            case FieldKind::UInt64: {
                std::uint64_t value = 0;
                fCdr >> value;
                return value > INT64_MAX ? KVValue(static_cast<double>(value))
                                         : KVValue(static_cast<std::int64_t>(value));
            }
            case FieldKind::Float32:
                return xNext<float>();
            case FieldKind::Float64:
                return xNext<double>();
            default:
                return xNext<std::string>();
        }
    }

    void xReadMessage(const MessageType& type, const std::string& keyField) {
        for (const Field& field : type.fields()) {
            if (field.fIsOptional && fCdr.getSerializedDataLength() == fBytes.size()) {
                return;
            }
            const std::size_t before = fTexts.size();
            xReadField(field);
            const bool isTime = field.fKind == FieldKind::Message && field.fMessage->isTime();
            if (isTime || field.fNaming == ros2_message::Naming::Names || field.fName == keyField) {
                fTexts.resize(before);
            }
        }
    }

    void xReadField(const Field& field) {
        std::uint32_t count = field.fCount;
        if (field.fRepetition == ros2_message::Repetition::Sequence) {
            fCdr >> count;
        }
        for (std::uint32_t i = 0; i < count; ++i) {
            if (field.fKind == FieldKind::Message) {
                xReadMessage(*field.fMessage, field.fKeyField);
            } else {
                fTexts.push_back(textOf(xNext(field.fKind)));
            }
        }
    }

    std::vector<unsigned char> fBytes;
    eprosima::fastcdr::FastBuffer fBuffer;
    Cdr fCdr;
    std::vector<std::string> fTexts;
};

MessageValues decoded(const std::string& type, const std::vector<unsigned char>& bytes,
                      const std::string& topic = "t") {
    return valuesOf(*knownType(type), topic, {bytes.data(), bytes.size()}, a_arrival);
}

/** Returns the same for a message of that type, which Fast CDR must decode to the same values. */
MessageValues decodedAlike(const std::string& type, const std::vector<unsigned char>& bytes,
                           const std::string& topic = "t") {
    MessageValues values = decoded(type, bytes, topic);
    std::vector<std::string> texts;
    for (const NamedValue& value : values.fValues) {
        texts.push_back(textOf(value.fValue));
    }
    EXPECT_TRUE(values.fIsGood) << type;
    EXPECT_EQ(FastReader(bytes).read(*knownType(type)), texts) << type;
    return values;
}

std::vector<std::string> linesOf(const MessageValues& values) {
    std::vector<std::string> lines;
    for (const NamedValue& value : values.fValues) {
        lines.push_back(lineOf(value));
    }
    return lines;
}

std::vector<std::string> lines(const std::string& type, const FastMessage& message) {
    return linesOf(decodedAlike(type, message.bytes()));
}

std::vector<double> count(int numbers) {
    std::vector<double> result;
    for (int i = 0; i < numbers; ++i) {
        result.push_back(i + 0.5);
    }
    return result;
}

/** Expects "prefix/0=0.5", "prefix/1=1.5", ... */
void expectCounted(const std::vector<std::string>& lines, const std::string& prefix, int numbers,
                   const std::string& unit = "") {
    for (int i = 0; i < numbers; ++i) {
        EXPECT_THAT(lines, Contains(prefix + '/' + std::to_string(i) + '=' + std::to_string(i) +
                                    ".5" + unit));
    }
}

template <class Number>
void expectNumber(const std::string& name, Number number, const std::string& text) {
    FastMessage message;
    message << number;
    EXPECT_THAT(lines("std_msgs/msg/" + name, message), ElementsAre("t=" + text)) << name;
    FastMessage array;
    array << std::uint32_t{1} << "rows" << std::uint32_t{2} << std::uint32_t{2} << std::uint32_t{0};
    array << std::vector<Number>{number, number};
    EXPECT_THAT(
        lines("std_msgs/msg/" + name + "MultiArray", array),
        ElementsAre("t/layout/dim/0/label=rows", "t/layout/dim/0/size=2", "t/layout/dim/0/stride=2",
                    "t/layout/data_offset=0", "t/0=" + text, "t/1=" + text))
        << name;
}

}  // namespace

TEST(MessageValues, numbersAndTheirArrays) {
    expectNumber<std::int8_t>("Int8", -8, "-8");
    expectNumber<std::uint8_t>("UInt8", 200, "200");
    expectNumber<std::uint8_t>("Byte", 7, "7");
    expectNumber<std::int16_t>("Int16", -1600, "-1600");
    expectNumber<std::uint16_t>("UInt16", 65000, "65000");
    expectNumber<std::int32_t>("Int32", -320000, "-320000");
    expectNumber<std::uint32_t>("UInt32", 4'000'000'000U, "4000000000");
    expectNumber<std::int64_t>("Int64", -64'000'000'000LL, "-64000000000");
    expectNumber<std::uint64_t>("UInt64", 64'000'000'000ULL, "64000000000");
    expectNumber<float>("Float32", 1.5F, "1.5");
    expectNumber<double>("Float64", -2.25, "-2.25");
}

TEST(MessageValues, boolCharAndString) {
    EXPECT_THAT(lines("std_msgs/msg/Bool", FastMessage() << true), ElementsAre("t=true"));
    EXPECT_THAT(lines("std_msgs/msg/Char", FastMessage() << std::uint8_t{65}), ElementsAre("t=65"));
    EXPECT_THAT(lines("std_msgs/msg/String", FastMessage() << "walk"), ElementsAre("t=walk"));
    EXPECT_THAT(lines("std_msgs/msg/String", FastMessage() << ""), ElementsAre("t="));
}

TEST(MessageValues, aUInt64AboveTheLargestIntegerBecomesAFloat) {
    EXPECT_THAT(lines("std_msgs/msg/UInt64", FastMessage() << (std::uint64_t{1} << 63U)),
                ElementsAre("t=9.22337e+18"));
}

TEST(MessageValues, jointStateByTheNamesOfTheJoints) {
    FastMessage message;
    message.header("base") << std::vector<std::string>{"HeadYaw", "l_knee"}
                           << std::vector<double>{0.25, -1.5} << std::vector<double>{2, 3}
                           << std::vector<double>{};
    const MessageValues values =
        decodedAlike("sensor_msgs/msg/JointState", message.bytes(), "Joint");
    EXPECT_THAT(linesOf(values),
                ElementsAre("Joint/frame_id=base", "Joint/HeadYaw/Position=0.25 [rad]",
                            "Joint/l_knee/Position=-1.5 [rad]", "Joint/HeadYaw/Velocity=2 [rad/s]",
                            "Joint/l_knee/Velocity=3 [rad/s]"));
    for (const NamedValue& value : values.fValues) {
        EXPECT_EQ(value.fTime, a_stamp) << value.fName;
    }
}

// The bytes of a message with one joint, written down from the definition and the rules of CDR.
TEST(MessageValues, jointStateOfBytesWrittenDownByHand) {
    const std::vector<unsigned char> bytes{
        0, 1, 0, 0,                                     // CDR, little-endian
        1, 0, 0, 0, 0,   202, 154,  59,                 // 1 s and 1,000,000,000 ns: 2 s
        5, 0, 0, 0, 'b', 'a', 's',  'e',  0,            // frame_id
        0, 0, 0,                                        // padding to a multiple of 4
        1, 0, 0, 0, 3,   0,   0,    0,    'k', 'n', 0,  // one name
        0,                                              // padding
        1, 0, 0, 0,                                     // one position
        0, 0, 0, 0,                                     // padding to a multiple of 8
        0, 0, 0, 0, 0,   0,   0xF8, 0x3F,               // 1.5
        0, 0, 0, 0, 0,   0,   0,    0};                 // no velocity, no effort
    const MessageValues values = decodedAlike("sensor_msgs/msg/JointState", bytes, "Joint");
    EXPECT_THAT(linesOf(values), ElementsAre("Joint/frame_id=base", "Joint/kn/Position=1.5 [rad]"));
    ASSERT_THAT(values.fValues, SizeIs(2));
    EXPECT_EQ(values.fValues[0].fTime, 2'000'000);
}

TEST(MessageValues, imu) {
    FastMessage message;
    message.header("torso").array({0.1, 0.2, 0.3, 0.4}).array(count(9));
    message.array({1, 2, 3}).array(count(9)).array({4, 5, 6}).array(count(9));
    const std::vector<std::string> seen = lines("sensor_msgs/msg/Imu", message);
    EXPECT_THAT(seen, SizeIs(1 + 4 + 3 + 3 + 27));
    EXPECT_THAT(seen, Contains("t/orientation/w=0.4"));
    EXPECT_THAT(seen, Contains("t/angular_velocity/x=1 [rad/s]"));
    EXPECT_THAT(seen, Contains("t/linear_acceleration/z=6 [m/s²]"));
    expectCounted(seen, "t/linear_acceleration_covariance", 9);
}

TEST(MessageValues, batteryState) {
    FastMessage message;
    message.header("") << 24.5F << 31.0F << -1.5F << 2.0F << 2.5F << 3.0F << 0.75F;
    message << std::uint8_t{2} << std::uint8_t{1} << std::uint8_t{3} << true;
    message << std::vector<float>{4.0F, 4.25F} << std::vector<float>{30.5F} << "slot"
            << "B17";
    EXPECT_THAT(
        lines("sensor_msgs/msg/BatteryState", message),
        ElementsAre("t/frame_id=", "t/voltage=24.5 [V]", "t/temperature=31 [°C]",
                    "t/current=-1.5 [A]", "t/charge=2 [Ah]", "t/capacity=2.5 [Ah]",
                    "t/design_capacity=3 [Ah]", "t/percentage=0.75", "t/power_supply_status=2",
                    "t/power_supply_health=1", "t/power_supply_technology=3", "t/present=true",
                    "t/cell_voltage/0=4 [V]", "t/cell_voltage/1=4.25 [V]",
                    "t/cell_temperature/0=30.5 [°C]", "t/location=slot", "t/serial_number=B17"));
}

TEST(MessageValues, singleSensors) {
    const auto measured = [](const std::string& type) {
        FastMessage message;
        message.header("s") << 1.25 << 0.5;
        return lines("sensor_msgs/msg/" + type, message);
    };
    EXPECT_THAT(measured("Temperature"),
                ElementsAre("t/frame_id=s", "t/temperature=1.25 [°C]", "t/variance=0.5"));
    EXPECT_THAT(measured("FluidPressure"),
                ElementsAre("t/frame_id=s", "t/fluid_pressure=1.25 [Pa]", "t/variance=0.5"));
    EXPECT_THAT(measured("RelativeHumidity"),
                ElementsAre("t/frame_id=s", "t/relative_humidity=1.25", "t/variance=0.5"));
    EXPECT_THAT(measured("Illuminance"),
                ElementsAre("t/frame_id=s", "t/illuminance=1.25 [lx]", "t/variance=0.5"));
}

TEST(MessageValues, rangeWithAndWithoutItsNewField) {
    FastMessage message;
    message.header("sonar") << std::uint8_t{0} << 0.5F << 0.25F << 4.0F << 1.5F;
    EXPECT_THAT(lines("sensor_msgs/msg/Range", message),
                ElementsAre("t/frame_id=sonar", "t/radiation_type=0", "t/field_of_view=0.5 [rad]",
                            "t/min_range=0.25 [m]", "t/max_range=4 [m]", "t/range=1.5 [m]"));
    message << 0.125F;
    EXPECT_THAT(lines("sensor_msgs/msg/Range", message), Contains("t/variance=0.125"));
}

TEST(MessageValues, magneticField) {
    FastMessage message;
    message.header("m").array({1, 2, 3}).array(count(9));
    const std::vector<std::string> seen = lines("sensor_msgs/msg/MagneticField", message);
    EXPECT_THAT(seen, Contains("t/magnetic_field/y=2 [T]"));
    expectCounted(seen, "t/magnetic_field_covariance", 9);
}

TEST(MessageValues, joy) {
    FastMessage message;
    message.header("") << std::vector<float>{0.5F, -1} << std::vector<std::int32_t>{0, 1};
    EXPECT_THAT(lines("sensor_msgs/msg/Joy", message),
                ElementsAre("t/frame_id=", "t/axes/0=0.5", "t/axes/1=-1", "t/buttons/0=0",
                            "t/buttons/1=1"));
}

TEST(MessageValues, navSatFix) {
    FastMessage message;
    message.header("gps") << std::int8_t{-1} << std::uint16_t{9} << 48.5 << 2.25 << 35.0;
    message.array(count(9)) << std::uint8_t{2};
    const std::vector<std::string> seen = lines("sensor_msgs/msg/NavSatFix", message);
    EXPECT_THAT(seen, Contains("t/status/status=-1"));
    EXPECT_THAT(seen, Contains("t/status/service=9"));
    EXPECT_THAT(seen, Contains("t/latitude=48.5 [°]"));
    EXPECT_THAT(seen, Contains("t/altitude=35 [m]"));
    EXPECT_THAT(seen, Contains("t/position_covariance_type=2"));
    expectCounted(seen, "t/position_covariance", 9, " [m²]");
}

TEST(MessageValues, cameraInfo) {
    FastMessage message;
    message.header("eye") << std::uint32_t{480} << std::uint32_t{640} << "plumb_bob" << count(5);
    message.array(count(9)).array(count(9)).array(count(12));
    message << std::uint32_t{1} << std::uint32_t{2};
    message << std::uint32_t{3} << std::uint32_t{4} << std::uint32_t{5} << std::uint32_t{6} << true;
    const std::vector<std::string> seen = lines("sensor_msgs/msg/CameraInfo", message);
    EXPECT_THAT(seen, Contains("t/height=480 [px]"));
    EXPECT_THAT(seen, Contains("t/width=640 [px]"));
    EXPECT_THAT(seen, Contains("t/roi/width=6"));
    EXPECT_THAT(seen, Contains("t/roi/do_rectify=true"));
    expectCounted(seen, "t/d", 5);
    expectCounted(seen, "t/p", 12);
}

TEST(MessageValues, geometry) {
    const auto numbers = [](const std::string& type, int size) {
        FastMessage message;
        message.array(count(size));
        return lines("geometry_msgs/msg/" + type, message);
    };
    EXPECT_THAT(numbers("Vector3", 3), ElementsAre("t/x=0.5", "t/y=1.5", "t/z=2.5"));
    EXPECT_THAT(numbers("Twist", 6),
                ElementsAre("t/linear/x=0.5 [m/s]", "t/linear/y=1.5 [m/s]", "t/linear/z=2.5 [m/s]",
                            "t/angular/x=3.5 [rad/s]", "t/angular/y=4.5 [rad/s]",
                            "t/angular/z=5.5 [rad/s]"));
    EXPECT_THAT(numbers("Pose", 7),
                ElementsAre("t/position/x=0.5 [m]", "t/position/y=1.5 [m]", "t/position/z=2.5 [m]",
                            "t/orientation/x=3.5", "t/orientation/y=4.5", "t/orientation/z=5.5",
                            "t/orientation/w=6.5"));
    EXPECT_THAT(numbers("Wrench", 6),
                ElementsAre("t/force/x=0.5 [N]", "t/force/y=1.5 [N]", "t/force/z=2.5 [N]",
                            "t/torque/x=3.5 [Nm]", "t/torque/y=4.5 [Nm]", "t/torque/z=5.5 [Nm]"));
    const std::map<std::string, std::pair<int, std::string>> stamped{
        {"Vector3Stamped", {3, "t/vector/z=2.5"}},
        {"TwistStamped", {6, "t/twist/angular/z=5.5 [rad/s]"}},
        {"PoseStamped", {7, "t/pose/orientation/w=6.5"}},
        {"WrenchStamped", {6, "t/wrench/torque/z=5.5 [Nm]"}}};
    for (const auto& [type, expected] : stamped) {
        FastMessage message;
        message.header("map").array(count(expected.first));
        const MessageValues values = decodedAlike("geometry_msgs/msg/" + type, message.bytes());
        EXPECT_THAT(linesOf(values), Contains(expected.second)) << type;
        EXPECT_THAT(linesOf(values), Contains("t/frame_id=map")) << type;
        EXPECT_EQ(values.fValues.back().fTime, a_stamp) << type;
    }
}

TEST(MessageValues, odometry) {
    FastMessage message;
    message.header("odom") << "base_link";
    message.array(count(7)).array(count(36)).array(count(6)).array(count(36));
    const std::vector<std::string> seen = lines("nav_msgs/msg/Odometry", message);
    EXPECT_THAT(seen, SizeIs(2 + 7 + 36 + 6 + 36));
    EXPECT_THAT(seen, Contains("t/child_frame_id=base_link"));
    EXPECT_THAT(seen, Contains("t/pose/pose/position/x=0.5 [m]"));
    EXPECT_THAT(seen, Contains("t/twist/twist/angular/z=5.5 [rad/s]"));
    expectCounted(seen, "t/twist/covariance", 36);
}

TEST(MessageValues, diagnosticsByTheirNames) {
    FastMessage message;
    message.header("") << std::uint32_t{2};
    message << std::uint8_t{1} << "arm/left"
            << "warm"
            << "A7" << std::uint32_t{2} << "temperature"
            << "61"
            << "mode"
            << "idle";
    message << std::uint8_t{0} << ""
            << "fine"
            << "" << std::uint32_t{0};
    EXPECT_THAT(
        lines("diagnostic_msgs/msg/DiagnosticArray", message),
        ElementsAre("t/frame_id=", "t/arm/left/level=1", "t/arm/left/message=warm",
                    "t/arm/left/hardware_id=A7", "t/arm/left/temperature=61",
                    "t/arm/left/mode=idle", "t/-/level=0", "t/-/message=fine", "t/-/hardware_id="));
}

TEST(MessageValues, logWithItsOwnTime) {
    FastMessage message;
    message << std::int32_t{1'700'000'000} << std::uint32_t{123'456'789} << std::uint8_t{30}
            << "walker"
            << "slipped"
            << "walk.cpp"
            << "step" << std::uint32_t{12};
    const MessageValues values = decodedAlike("rcl_interfaces/msg/Log", message.bytes());
    EXPECT_THAT(linesOf(values), ElementsAre("t/level=30", "t/name=walker", "t/msg=slipped",
                                             "t/file=walk.cpp", "t/function=step", "t/line=12"));
    EXPECT_EQ(values.fValues.at(0).fTime, a_stamp);
}

TEST(MessageValues, transformsByTheirFramesEachWithItsTime) {
    FastMessage message;
    message << std::uint32_t{2};
    message.header("base", 10, 0) << "head";
    message.array(count(7));
    message.header("base", 20, 0) << "hand";
    message.array(count(7));
    const MessageValues values = decodedAlike("tf2_msgs/msg/TFMessage", message.bytes());
    const std::vector<std::string> seen = linesOf(values);
    EXPECT_THAT(seen, SizeIs(16));
    EXPECT_THAT(seen, Contains("t/head/frame_id=base"));
    EXPECT_THAT(seen, Contains("t/hand/transform/translation/x=0.5 [m]"));
    EXPECT_EQ(values.fValues.front().fTime, 10'000'000);
    EXPECT_EQ(values.fValues.back().fTime, 20'000'000);
}

TEST(MessageValues, everyTypeOfTheTableHasAnExampleHere) {
    // Parts of other types, and pictures, which are tested with the frames that they become.
    std::set<std::string> examples{"Bool",
                                   "Byte",
                                   "Char",
                                   "Int8",
                                   "UInt8",
                                   "Int16",
                                   "UInt16",
                                   "Int32",
                                   "UInt32",
                                   "Int64",
                                   "UInt64",
                                   "Float32",
                                   "Float64",
                                   "String",
                                   "JointState",
                                   "Imu",
                                   "BatteryState",
                                   "Temperature",
                                   "Range",
                                   "MagneticField",
                                   "FluidPressure",
                                   "RelativeHumidity",
                                   "Illuminance",
                                   "Joy",
                                   "NavSatFix",
                                   "NavSatStatus",
                                   "CameraInfo",
                                   "RegionOfInterest",
                                   "Vector3",
                                   "Vector3Stamped",
                                   "Twist",
                                   "TwistStamped",
                                   "TwistWithCovariance",
                                   "Pose",
                                   "PoseStamped",
                                   "PoseWithCovariance",
                                   "Wrench",
                                   "WrenchStamped",
                                   "Quaternion",
                                   "Transform",
                                   "TransformStamped",
                                   "Odometry",
                                   "DiagnosticArray",
                                   "DiagnosticStatus",
                                   "KeyValue",
                                   "Log",
                                   "TFMessage",
                                   "Time",
                                   "Duration",
                                   "Header",
                                   "MultiArrayDimension",
                                   "MultiArrayLayout"};
    for (const std::string& type : ros2_message::knownTypes()) {
        const std::string name = type.substr(type.rfind('/') + 1);
        const std::size_t array = name.find("MultiArray");
        const bool isArray = array != std::string::npos && array + 10 == name.size();
        EXPECT_TRUE(type.rfind("obvista/", 0) == 0 || examples.count(name) == 1 ||
                    (isArray && examples.count(name.substr(0, array)) == 1))
            << type;
    }
}

TEST(MessageValues, bigEndianMessages) {
    FastMessage message(Cdr::BIG_ENDIANNESS);
    message.header("base") << std::vector<std::string>{"a"} << std::vector<double>{0.5}
                           << std::vector<double>{} << std::vector<double>{};
    EXPECT_THAT(lines("sensor_msgs/msg/JointState", message),
                ElementsAre("t/frame_id=base", "t/a/Position=0.5 [rad]"));
}

TEST(MessageValues, aStampThatNobodyHasSetIsTheTimeOfArrival) {
    FastMessage message;
    message.header("", 0, 0) << 1.0 << 2.0;
    EXPECT_EQ(decoded("sensor_msgs/msg/Temperature", message.bytes()).fValues.at(0).fTime,
              a_arrival);
}

TEST(MessageValues, everyShorterMessageIsRefused) {
    FastMessage message;
    message.header("base") << std::vector<std::string>{"a", "b"} << std::vector<double>{1, 2}
                           << std::vector<double>{3, 4} << std::vector<double>{5, 6};
    const std::vector<unsigned char> bytes = message.bytes();
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        const std::vector<unsigned char> beginning(bytes.begin(),
                                                   bytes.begin() + static_cast<long>(size));
        const MessageValues values = decoded("sensor_msgs/msg/JointState", beginning);
        EXPECT_FALSE(values.fIsGood) << size;
        EXPECT_THAT(values.fValues, IsEmpty()) << size;
    }
}

TEST(MessageValues, aMessageOfAnotherTypeIsRefused) {
    FastMessage message;
    message.header("") << 1.0 << 2.0;
    EXPECT_FALSE(decoded("sensor_msgs/msg/Imu", message.bytes()).fIsGood);
    EXPECT_FALSE(decoded("std_msgs/msg/Float64", message.bytes()).fIsGood);
    EXPECT_FALSE(decoded("std_msgs/msg/String", {0, 7, 0, 0, 1, 0, 0, 0, 0}).fIsGood)
        << "another encoding";
}

TEST(MessageValues, aLengthThatTheBytesCannotHoldTakesNoMemory) {
    FastMessage message;
    message.header("") << std::uint32_t{0xFFFFFFFF};
    EXPECT_FALSE(decoded("sensor_msgs/msg/JointState", message.bytes()).fIsGood);
    EXPECT_FALSE(
        decoded("std_msgs/msg/String", (FastMessage() << std::uint32_t{0xFFFFFFFF}).bytes())
            .fIsGood);
}

TEST(MessageValues, longArraysAndTextsAreCutAndReported) {
    FastMessage array;
    array << std::uint32_t{0} << std::uint32_t{0} << std::vector<double>(5000, 1.0);
    const MessageValues values = decoded("std_msgs/msg/Float64MultiArray", array.bytes());
    EXPECT_TRUE(values.fIsGood);
    EXPECT_FALSE(values.fIsComplete);
    EXPECT_THAT(values.fValues, SizeIs(1 + ros2_message::a_mostElements));
    const MessageValues text =
        decoded("std_msgs/msg/String", (FastMessage() << std::string(1'000'000, 'x')).bytes());
    ASSERT_THAT(text.fValues, SizeIs(1));
    EXPECT_LE(text.fValues[0].fValue.toString().size(), ros2_message::a_longestText + 3);
}

TEST(MessageValues, namesOfARobotAreOneLineOfUtf8) {
    EXPECT_EQ(ros2_message::levelFor("a\nb\xFF"), "a\\nb\xEF\xBF\xBD");
    EXPECT_LE(ros2_message::levelFor(std::string(10'000, 'x')).size(), 200U);
}

TEST(MessageValues, keysOfJointsBeginWithTheNamespaceOfTheirTopic) {
    const std::string joints = "sensor_msgs/msg/JointState";
    EXPECT_EQ(ros2_message::prefixFor("/joint_states", joints), "Joint");
    EXPECT_EQ(ros2_message::prefixFor("/left/joint_states", joints), "left/Joint");
    EXPECT_EQ(ros2_message::prefixFor("/commands", joints), "commands/Joint");
    EXPECT_EQ(ros2_message::prefixFor("/imu/data", "sensor_msgs/msg/Imu"), "imu/data");
}

TEST(MessageSchema, describesTheMessagesOfFastCdr) {
    const auto type = typeOfSchema("maker/msg/Arm",
                                   "bool on\nParts[2] pair\nstring text\n===\nMSG: maker/Parts\n"
                                   "int8 a\nfloat64[] many\nuint16 b\n");
    FastMessage message;
    message << true << std::int8_t{-1} << std::vector<double>{0.5, 2} << std::uint16_t{7}
            << std::int8_t{3} << std::vector<double>{} << std::uint16_t{8} << "end";
    const auto bytes = message.bytes();
    const auto values = valuesOf(*type, "arm", {bytes.data(), bytes.size()}, 1);
    ASSERT_TRUE(values.fIsGood);
    std::string lines;
    for (const auto& value : values.fValues) {
        lines += value.fName + '\n';
    }
    EXPECT_EQ(lines,
              "arm/on\narm/pair/0/a\narm/pair/0/many/0\narm/pair/0/many/1\narm/pair/0/b\n"
              "arm/pair/1/a\narm/pair/1/b\narm/text\n");
    EXPECT_EQ(values.fValues.back().fValue, KVValue("end"));
}

TEST(NodeInfo, identifiersOfOldAndNewVersions) {
    for (const std::size_t size : {16U, 24U}) {
        FastMessage message;
        const auto guid = [&](std::uint8_t first) {
            for (std::size_t i = 0; i < size; ++i) {
                message << static_cast<std::uint8_t>(i < 16 ? first + i : 0);
            }
        };
        guid(1);
        message << std::uint32_t{1} << "/left"
                << "driver" << std::uint32_t{0} << std::uint32_t{1};
        guid(40);
        const std::vector<unsigned char> bytes = message.bytes();
        const auto info = bridge::nodeInfoOf({bytes.data(), bytes.size()});
        ASSERT_TRUE(info) << size;
        EXPECT_EQ(info->fParticipant[0], 1);
        ASSERT_THAT(info->fNodes, SizeIs(1));
        EXPECT_EQ(info->fNodes[0].fName, "/left/driver");
        ASSERT_THAT(info->fNodes[0].fWriters, SizeIs(1));
        EXPECT_EQ(info->fNodes[0].fWriters[0][15], 55);
    }
}

TEST(StdValue, isTheMessageThatFastCdrMakes) {
    const auto made = [](const std::string& type, const KVValue& value) {
        return bridge::stdMessage(*knownType("std_msgs/msg/" + type), value);
    };
    EXPECT_EQ(made("Bool", true), (FastMessage() << true).bytes());
    EXPECT_EQ(made("Int16", -5), (FastMessage() << std::int16_t{-5}).bytes());
    EXPECT_EQ(made("UInt64", 5), (FastMessage() << std::uint64_t{5}).bytes());
    EXPECT_EQ(made("Float32", 0.5), (FastMessage() << 0.5F).bytes());
    EXPECT_EQ(made("Float64", 0.5), (FastMessage() << 0.5).bytes());
    EXPECT_EQ(made("String", "wave"), (FastMessage() << "wave").bytes());
    EXPECT_THROW(made("UInt8", 256), KVError);
    EXPECT_THROW(made("UInt64", -1), KVError);
    EXPECT_THROW(made("Int8", "x"), KVError);
    EXPECT_TRUE(bridge::isStdValue(*knownType("std_msgs/msg/Float64")));
    EXPECT_FALSE(bridge::isStdValue(*knownType("std_msgs/msg/Float64MultiArray")));
    EXPECT_FALSE(bridge::isStdValue(*knownType("geometry_msgs/msg/Twist")));
}
