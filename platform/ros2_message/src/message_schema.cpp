#include <base/blanks.h>
#include <base/safe_text.h>

#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>
#include <locale>
#include <map>
#include <ros2_message/message_schema.h>
#include <ros2_message/message_table.h>
#include <stdexcept>
#include <utility>
#include <vector>

namespace ros2_message {

namespace {

constexpr std::size_t a_mostFields = 4096;  // of a type with all its parts
constexpr int a_deepest = 12;
constexpr std::size_t a_longestName = 120;  // bytes
constexpr std::size_t a_longestTypeName = 2 * a_longestName;
constexpr std::string_view a_letters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_";

/** Takes the first line, without blanks at its ends. */
std::string_view takeLine(std::string_view& text) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = base::trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    return line;
}

/** Takes the longest beginning of characters of a set. */
std::string_view takeSpan(std::string_view& text, std::string_view characters) {
    const std::string_view span = text.substr(0, text.find_first_not_of(characters));
    text.remove_prefix(span.size());
    return span;
}

std::string quoted(std::string_view text) {
    return '\'' + base::oneLine(base::shortened(text, a_longestName)) + '\'';
}

bool isSeparator(std::string_view line) {
    constexpr std::size_t shortest = 3;
    return line.size() >= shortest && line.find_first_not_of('=') == std::string_view::npos;
}

/** Returns true if the bytes of both types mean the same. The depth is that of the known one. */
bool isAlike(const MessageType& described, const MessageType& known) {
    return std::equal(
        described.fields().begin(), described.fields().end(), known.fields().begin(),
        known.fields().end(), [](const Field& one, const Field& two) {
            return boost::iequals(one.fName, two.fName, std::locale::classic()) &&
                   one.fKind == two.fKind && one.fRepetition == two.fRepetition &&
                   one.fCount == two.fCount &&
                   (one.fKind != FieldKind::Message || isAlike(*one.fMessage, *two.fMessage));
        });
}

/** Puts a type together from the definitions in a schema. */
class SchemaReader {
  public:
    SchemaReader(const std::string& name, std::string_view text) {
        std::string section = name;
        const char* start = text.data();
        while (!text.empty()) {
            const char* const lineStart = text.data();
            const std::string_view line = takeLine(text);
            if (isSeparator(line)) {
                xAdd(section, start, lineStart);
                section = xNameOf(takeLine(text));
                start = text.data();
            }
        }
        xAdd(section, start, text.data());
    }

    std::shared_ptr<const MessageType> type(const std::string& name) { return xType(name).fType; }

  private:
    struct Described {
        std::shared_ptr<const MessageType> fType;
        int fDepth = 0;  ///< of its parts, at least 1
    };

    void xAdd(const std::string& section, const char* begin, const char* end) {
        fDefinitions.try_emplace(section, begin, static_cast<std::size_t>(end - begin));
    }

    static std::string xNameOf(std::string_view title) {
        constexpr std::string_view message = "MSG:";
        if (title.substr(0, message.size()) != message) {
            throw std::invalid_argument("it has no 'MSG:' behind a line of '='");
        }
        const std::string_view name = base::trimmed(title.substr(message.size()));
        if (name.size() > a_longestTypeName) {
            throw std::invalid_argument("it has the name " + quoted(name) + ", which is too long");
        }
        return fullTypeName(std::string(name), "");
    }

    Described xType(const std::string& name) {
        if (const auto known = fTypes.find(name); known != fTypes.end()) {
            if (!known->second.fType) {
                throw std::invalid_argument("it describes " + quoted(name) + " by itself");
            }
            return known->second;
        }
        const auto definition = fDefinitions.find(name);
        if (definition == fDefinitions.end()) {
            return {knownType(name), 1};
        }
        fTypes[name];
        Described result = xParsed(name, definition->second);
        if (const auto known = knownType(name); known && isAlike(*result.fType, *known)) {
            result.fType = known;
        }
        return fTypes[name] = result;
    }

    Described xParsed(const std::string& name, std::string_view definition) {
        int depth = 0;
        const auto lookup = [&](const std::string& part) {
            const Described described = xType(part);
            depth = std::max(depth, described.fDepth);
            return described.fType;
        };
        if (++fNesting > a_deepest) {
            throw std::invalid_argument("it is too deep");
        }
        std::vector<Field> fields;
        while (!definition.empty()) {
            const std::string_view line = takeLine(definition);
            if (!line.empty() && line.front() != '#') {
                xAddField(fields, line, name, lookup);
            }
        }
        --fNesting;
        // ROS 2 adds a member to a message without fields. So each takes bytes, and a short message
        // cannot have elements without number.
        if (fields.empty()) {
            fields.push_back(fieldOf("uint8", "structure_needs_at_least_one_member", name, lookup));
        }
        if (++depth > a_deepest) {
            throw std::invalid_argument("it is too deep");
        }
        return {std::make_shared<const MessageType>(name, std::move(fields)), depth};
    }

    /** Adds the field of a line: a type, a name, and perhaps a default value. Skips a constant. */
    void xAddField(std::vector<Field>& fields, std::string_view line, const std::string& owner,
                   const MessageType::Lookup& lookup) {
        const std::string_view whole = line;
        const std::string_view kind = line.substr(0, line.find_first_of(base::a_blanks));
        line = base::trimmed(line.substr(kind.size()));
        const std::string_view name = takeSpan(line, a_letters);
        line = base::trimmed(line);
        if (!line.empty() && line.front() == '=') {
            return;
        }
        if (name.empty() || name.size() > a_longestName || kind.size() > a_longestTypeName) {
            throw std::invalid_argument("it has the line " + quoted(whole) +
                                        ", which is not a field");
        }
        if (++fFields > a_mostFields) {
            throw std::invalid_argument("it has more than " + std::to_string(a_mostFields) +
                                        " fields");
        }
        fields.push_back(fieldOf(std::string(kind), std::string(name), owner, lookup));
    }

    std::map<std::string, std::string_view> fDefinitions;
    std::map<std::string, Described> fTypes;  ///< null while a type is put together
    std::size_t fFields = 0;
    int fNesting = 0;
};

}  // namespace

std::shared_ptr<const MessageType> typeOfSchema(const std::string& name, std::string_view text) {
    try {
        if (name.size() > a_longestTypeName) {
            throw std::invalid_argument("its name is too long");
        }
        return SchemaReader(name, text).type(name);
    } catch (const std::invalid_argument& mistake) {
        throw std::runtime_error("The schema " +
                                 base::oneLine(base::shortened(name, a_longestName)) +
                                 " cannot be used: " + mistake.what() + '.');
    }
}

}  // namespace ros2_message
