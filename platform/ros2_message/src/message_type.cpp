#include <base/blanks.h>
#include <base/safe_text.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <ros2_message/message_type.h>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace ros2_message {

namespace {

struct BuiltinKind {
    const char* fName;
    FieldKind fKind;
    std::size_t fSize;
};

constexpr std::array<BuiltinKind, 14> a_kinds{{
    {"bool", FieldKind::Bool, 1},
    {"int8", FieldKind::Int8, 1},
    {"uint8", FieldKind::UInt8, 1},
    {"byte", FieldKind::UInt8, 1},
    {"char", FieldKind::UInt8, 1},
    {"int16", FieldKind::Int16, 2},
    {"uint16", FieldKind::UInt16, 2},
    {"int32", FieldKind::Int32, 4},
    {"uint32", FieldKind::UInt32, 4},
    {"int64", FieldKind::Int64, 8},
    {"uint64", FieldKind::UInt64, 8},
    {"float32", FieldKind::Float32, 4},
    {"float64", FieldKind::Float64, 8},
    {"string", FieldKind::Text, 0},
}};

constexpr std::uint32_t a_largestArray = 1U << 24U;  // elements
constexpr std::size_t a_longestName = 120;           // bytes, in a reason
constexpr std::size_t a_lengthSize = 4;              // bytes of the length of a text or sequence

/** Takes "[...]" from the beginning of a text. */
std::string takeBrackets(std::string& text) {
    if (text.empty() || text.front() != '[') {
        return {};
    }
    const std::size_t end = std::min(text.find(']'), text.size());
    std::string inner = text.substr(1, end - 1);
    text = base::trimmed(text.erase(0, end + 1));
    return inner;
}

void describe(Field& field, std::string comment) {
    while (!comment.empty() && comment.front() == '@') {
        std::istringstream words(comment.substr(1));
        std::string word;
        words >> word;
        if (word == "by") {
            words >> field.fKeyField;
        } else if (word == "names") {
            field.fNaming = Naming::Names;
        } else if (word == "per") {
            field.fNaming = Naming::PerName;
            words >> field.fName;
        } else if (word == "value") {
            field.fNaming = Naming::Value;
        } else if (word == "optional") {
            field.fIsOptional = true;
        } else {
            throw std::invalid_argument("there is no @" + word);
        }
        std::string rest;
        std::getline(words, rest);
        comment = base::trimmed(rest);
    }
    field.fUnit = takeBrackets(comment);
    field.fDescription = comment;
}

Field parsedField(const std::string& line, const std::string& type,
                  const MessageType::Lookup& lookup) {
    const std::size_t hash = line.find('#');
    std::istringstream words(line.substr(0, hash));
    std::string kind;
    std::string name;
    if (!(words >> kind >> name)) {
        throw std::invalid_argument(type + ": '" + line + "' is not a field");
    }
    Field field = fieldOf(kind, name, type, lookup);
    if (hash != std::string::npos) {
        describe(field, std::string(base::trimmed(line.substr(hash + 1))));
    }
    return field;
}

std::vector<Field> parsedFields(const std::string& type, const std::string& definition,
                                const MessageType::Lookup& lookup) {
    std::vector<Field> fields;
    std::istringstream lines(definition);
    for (std::string line; std::getline(lines, line);) {
        line = base::trimmed(line);
        if (!line.empty()) {
            fields.push_back(parsedField(line, type, lookup));
        }
    }
    return fields;
}

/** Returns the count in the brackets behind an array's type. */
std::uint32_t countOf(std::string_view digits, const std::string& type) {
    std::uint32_t count = 0;
    const char* const end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, count);
    if (error != std::errc() || rest != end || count == 0 || count > a_largestArray) {
        throw std::invalid_argument("there is no type " + base::oneLine(type));
    }
    return count;
}

}  // namespace

std::string fullTypeName(const std::string& name, const std::string& neighbour) {
    const std::size_t slash = name.find('/');
    if (slash == std::string::npos) {
        return neighbour.substr(0, neighbour.rfind('/') + 1) + name;
    }
    return slash == name.rfind('/') ? name.substr(0, slash) + "/msg" + name.substr(slash) : name;
}

Field fieldOf(const std::string& type, const std::string& name, const std::string& owner,
              const MessageType::Lookup& lookup) {
    Field field;
    field.fName = name;
    std::string kind = type;
    if (const std::size_t bracket = kind.find('['); bracket != std::string::npos) {
        std::string rest = kind.substr(bracket);
        if (rest.back() != ']') {
            throw std::invalid_argument("there is no type " + base::oneLine(type));
        }
        const std::string count = takeBrackets(rest);
        const bool isSequence = count.empty() || count.front() == '<';
        field.fRepetition = isSequence ? Repetition::Sequence : Repetition::Array;
        field.fCount = isSequence ? 0 : countOf(count, type);
        kind.resize(bracket);
        if (!rest.empty()) {
            throw std::invalid_argument("there is no type " + base::oneLine(type));
        }
    }
    kind.resize(std::min(kind.find('<'), kind.size()));  // the longest length of a text
    const auto* const builtin =
        std::find_if(a_kinds.begin(), a_kinds.end(),
                     [&](const BuiltinKind& known) { return kind == known.fName; });
    if (builtin != a_kinds.end()) {
        field.fKind = builtin->fKind;
        return field;
    }
    field.fKind = FieldKind::Message;
    field.fMessage = lookup(fullTypeName(kind, owner));
    if (!field.fMessage) {
        throw std::invalid_argument(base::oneLine(owner) + ": there is no type " +
                                    base::oneLine(base::shortened(kind, a_longestName)));
    }
    return field;
}

std::size_t sizeOf(FieldKind kind) {
    const auto* const known =
        std::find_if(a_kinds.begin(), a_kinds.end(),
                     [&](const BuiltinKind& candidate) { return candidate.fKind == kind; });
    return known == a_kinds.end() ? 0 : known->fSize;
}

std::size_t Field::smallest() const {
    if (fKind == FieldKind::Message) {
        return fMessage->smallest();
    }
    return fKind == FieldKind::Text ? a_lengthSize : sizeOf(fKind);
}

MessageType::MessageType(std::string name, std::vector<Field> fields)
    : fName(std::move(name)), fFields(std::move(fields)) {
    xMeasure();
}

MessageType::MessageType(const std::string& name, const std::string& definition,
                         const Lookup& lookup)
    : fName(name), fFields(parsedFields(name, definition, lookup)) {
    xMeasure();
}

void MessageType::xMeasure() {
    constexpr std::size_t largest = std::numeric_limits<std::uint32_t>::max();
    std::size_t size = 0;
    for (const Field& field : fFields) {
        if (field.fIsOptional) {
            continue;
        }
        // Both factors are below 2^32.
        const std::size_t part = field.fRepetition == Repetition::Sequence
                                     ? a_lengthSize
                                     : field.smallest() * field.fCount;
        size = std::min(size + part, largest);
    }
    fSmallest = std::max<std::size_t>(size, 1);
    fIsTime = fName == "builtin_interfaces/msg/Time" || fName == "builtin_interfaces/msg/Duration";
    fIsHeader = fName == "std_msgs/msg/Header";
    if (fIsTime && (fFields.size() != 2 || fSmallest != 8)) {
        fIsTime = false;
    }
    if (fIsHeader &&
        (fFields.size() != 2 || fFields[0].fKind != FieldKind::Message ||
         !fFields[0].fMessage->isTime() || fFields[0].fRepetition != Repetition::Once ||
         fFields[1].fKind != FieldKind::Text || fFields[1].fRepetition != Repetition::Once)) {
        fIsHeader = false;
    }
}

}  // namespace ros2_message
