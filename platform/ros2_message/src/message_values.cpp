#include <base/safe_text.h>
#include <base/time.h>

#include <algorithm>
#include <ros2_message/message_values.h>
#include <string_view>
#include <utility>

namespace ros2_message {

namespace {

constexpr std::size_t a_longestLevel = 120;  // bytes of a name of the robot's in a key
constexpr const char* a_joints = "Joint";
constexpr std::string_view a_jointTopic = "joint_states";

/** Reads one number, bool or text, and makes a value of it if it is wanted. */
KVValue readValue(CdrReader& reader, FieldKind kind) {
    switch (kind) {
        case FieldKind::Bool:
            return reader.number<std::uint8_t>() != 0;
        case FieldKind::Int8:
            return std::int64_t{reader.number<std::int8_t>()};
        case FieldKind::UInt8:
            return std::int64_t{reader.number<std::uint8_t>()};
        case FieldKind::Int16:
            return std::int64_t{reader.number<std::int16_t>()};
        case FieldKind::UInt16:
            return std::int64_t{reader.number<std::uint16_t>()};
        case FieldKind::Int32:
            return std::int64_t{reader.number<std::int32_t>()};
        case FieldKind::UInt32:
            return std::int64_t{reader.number<std::uint32_t>()};
        case FieldKind::Int64:
            return reader.number<std::int64_t>();
        case FieldKind::UInt64:
            return valueOf(reader.number<std::uint64_t>());
        case FieldKind::Float32:
            return double{reader.number<float>()};
        case FieldKind::Float64:
            return reader.number<double>();
        case FieldKind::Text:
            return base::shortened(reader.text(), a_longestText);
        case FieldKind::Message:
            break;
    }
    return {};
}

void skipMessage(CdrReader& reader, const MessageType& type);

void skipElements(CdrReader& reader, const Field& field, std::uint32_t count) {
    if (const std::size_t size = sizeOf(field.fKind); size != 0) {
        reader.skipNumbers(size, count);
        return;
    }
    for (std::uint32_t i = 0; i < count && reader.isGood(); ++i) {
        if (field.fKind == FieldKind::Text) {
            reader.text();
        } else {
            skipMessage(reader, *field.fMessage);
        }
    }
}

/** Reads how many elements follow, which the remaining bytes can hold. */
std::uint32_t readCount(CdrReader& reader, const Field& field) {
    if (field.fRepetition == Repetition::Sequence) {
        return reader.length(field.smallest());
    }
    if (!reader.hasRoomFor(field.fCount, field.smallest())) {
        reader.fail();
        return 0;
    }
    return field.fCount;
}

void skipMessage(CdrReader& reader, const MessageType& type) {
    for (const Field& field : type.fields()) {
        skipElements(reader, field, readCount(reader, field));
    }
}

/** Returns a text of the message that is read next, from a copy of the reader. */
std::string_view peekText(CdrReader reader, const MessageType& type, const std::string& name) {
    for (const Field& field : type.fields()) {
        if (field.fName == name && field.fKind == FieldKind::Text &&
            field.fRepetition == Repetition::Once) {
            return reader.text();
        }
        skipElements(reader, field, readCount(reader, field));
    }
    return {};
}

/** Returns true if the first field of a type is the time to which the others belong. */
bool beginsWithStamp(const MessageType& type) {
    return !type.fields().empty() && type.fields()[0].fName == "stamp" &&
           type.fields()[0].fKind == FieldKind::Message &&
           type.fields()[0].fRepetition == Repetition::Once && type.fields()[0].fMessage->isTime();
}

/** Unit and description of a value. */
struct About {
    About(const Field& field, const About& other)
        : fUnit(field.fUnit.empty() ? other.fUnit : field.fUnit),
          fDescription(field.fDescription.empty() ? other.fDescription : field.fDescription) {}
    About() = default;

    std::string_view fUnit;
    std::string_view fDescription;
};

/** Reads one message and keeps its values. */
class Collector {
  public:
    Collector(CdrReader reader, std::string prefix, std::int64_t time)
        : fReader(reader), fPath(std::move(prefix)), fTime(time) {}

    /**
     * @param about applies to the fields that have no unit or no description
     * @param keyField field that is in the path; or empty
     */
    void readMessage(const MessageType& type, const About& about, std::string_view keyField) {
        const bool hasStamp = beginsWithStamp(type);
        for (const Field& field : type.fields()) {
            if (!fReader.isGood() || (field.fIsOptional && fReader.isAtEnd())) {
                return;
            }
            if (hasStamp && &field == &type.fields()[0]) {
                xReadStamp();
            } else if (!keyField.empty() && field.fName == keyField) {
                fReader.text();
            } else {
                xReadField(field, about);
            }
        }
    }

    const CdrReader& reader() const { return fReader; }
    MessageValues& result() { return fResult; }

  private:
    /** Appends a level to the path until the end of its life. */
    class Level {
      public:
        Level(std::string& path, std::string_view name) : fPath(path), fSize(path.size()) {
            fPath += '/';
            fPath += name;
        }
        ~Level() { fPath.resize(fSize); }
        Level(const Level&) = delete;
        Level& operator=(const Level&) = delete;

      private:
        std::string& fPath;
        const std::size_t fSize;
    };

    void xReadStamp() {
        const std::int64_t time = readTime(fReader);
        // A stamp that nobody has set, and one before 1970, are not times.
        fTime = time > 0 ? time : fTime;
    }

    void xReadField(const Field& field, const About& outer) {
        if (field.fKind == FieldKind::Message && field.fRepetition == Repetition::Once &&
            field.fMessage->isHeader()) {
            // The time is that of the values behind it, not a value that changes with each message.
            readMessage(*field.fMessage, {}, {});
            return;
        }
        const About about(field, outer);
        switch (field.fNaming) {
            case Naming::Names:
                xReadNames(field);
                return;
            case Naming::PerName:
                xReadPerName(field, about);
                return;
            case Naming::Value:
                xReadElements(field, about);
                return;
            case Naming::Own:
                break;
        }
        if (field.fKeyField.empty()) {
            const Level level(fPath, field.fName);
            xReadElements(field, about);
        } else {
            xReadElements(field, about);
        }
    }

    void xReadElements(const Field& field, const About& about) {
        const std::uint32_t count = readCount(fReader, field);
        const std::uint32_t wanted = std::min(count, a_mostElements);
        fResult.fIsComplete = fResult.fIsComplete && wanted == count;
        for (std::uint32_t i = 0; i < wanted && fReader.isGood(); ++i) {
            if (field.fRepetition == Repetition::Once) {
                xReadElement(field, about);
            } else {
                const Level level(fPath, xNameOf(field, i));
                xReadElement(field, about);
            }
        }
        skipElements(fReader, field, count - wanted);
    }

    std::string xNameOf(const Field& field, std::uint32_t index) const {
        if (field.fKeyField.empty()) {
            return std::to_string(index);
        }
        return levelFor(peekText(fReader, *field.fMessage, field.fKeyField));
    }

    void xReadElement(const Field& field, const About& about) {
        if (field.fKind != FieldKind::Message) {
            xKeep(about, readValue(fReader, field.fKind));
        } else if (field.fMessage->isTime()) {
            xKeep(about, static_cast<double>(readTime(fReader)) / base::a_microsecondsPerSecond);
        } else {
            // A stamp inside an element is that of the element alone.
            const std::int64_t time = fTime;
            readMessage(*field.fMessage, about, field.fKeyField);
            fTime = time;
        }
    }

    void xReadNames(const Field& field) {
        const std::uint32_t count = readCount(fReader, field);
        const std::uint32_t wanted = std::min(count, a_mostElements);
        fNames.clear();
        for (std::uint32_t i = 0; i < wanted && fReader.isGood(); ++i) {
            fNames.push_back(levelFor(fReader.text()));
        }
        fResult.fIsComplete = fResult.fIsComplete && wanted == count;
        skipElements(fReader, field, count - wanted);
    }

    void xReadPerName(const Field& field, const About& about) {
        const std::uint32_t count = readCount(fReader, field);
        const auto wanted = static_cast<std::uint32_t>(std::min<std::size_t>(count, fNames.size()));
        fResult.fIsComplete = fResult.fIsComplete && wanted == count;
        for (std::uint32_t i = 0; i < wanted && fReader.isGood(); ++i) {
            const Level joint(fPath, fNames[i]);
            const Level quantity(fPath, field.fName);
            xReadElement(field, about);
        }
        skipElements(fReader, field, count - wanted);
    }

    void xKeep(const About& about, KVValue value) {
        if (fResult.fValues.size() >= a_mostValues) {
            fResult.fIsComplete = false;
            return;
        }
        fResult.fValues.push_back(
            {fPath, about.fUnit, about.fDescription, std::move(value), fTime});
    }

    CdrReader fReader;
    std::string fPath;
    std::int64_t fTime;
    std::vector<std::string> fNames;
    MessageValues fResult;
};

}  // namespace

MessageValues valuesOf(const MessageType& type, const std::string& topic, Bytes message,
                       std::int64_t time) {
    Collector collector(CdrReader(message), topic, time);
    collector.readMessage(type, {}, {});
    MessageValues& result = collector.result();
    result.fIsGood = collector.reader().isAtEnd();
    if (!result.fIsGood) {
        result.fValues.clear();
    }
    return std::move(result);
}

KVValue valueOf(std::uint64_t number) {
    return number <= INT64_MAX ? KVValue(static_cast<std::int64_t>(number))
                               : KVValue(static_cast<double>(number));
}

std::int64_t readTime(CdrReader& reader) {
    const auto seconds = reader.number<std::int32_t>();
    const auto nanoseconds = reader.number<std::uint32_t>();
    return seconds * base::a_microsecondsPerSecond +
           nanoseconds / base::a_nanosecondsPerMicrosecond;
}

std::string levelFor(std::string_view name) {
    return name.empty() ? "-" : base::oneLine(base::shortened(name, a_longestLevel));
}

std::string prefixFor(const std::string& topic, const std::string& type) {
    const std::string_view path =
        std::string_view(topic).substr(!topic.empty() && topic.front() == '/' ? 1 : 0);
    if (type != "sensor_msgs/msg/JointState") {
        return base::oneLine(path);
    }
    const std::size_t slash = path.rfind('/');
    const std::string_view last = slash == std::string_view::npos ? path : path.substr(slash + 1);
    const std::string_view before = last != a_jointTopic              ? path
                                    : slash == std::string_view::npos ? std::string_view()
                                                                      : path.substr(0, slash);
    return before.empty() ? a_joints : base::oneLine(before) + '/' + a_joints;
}

}  // namespace ros2_message
