#include "conform/subject.h"

#include <base/safe_text.h>

#include <algorithm>
#include <functional>

namespace robaxi_tool {

namespace {

constexpr int a_deepest = 64;
constexpr const char* a_none = "robaxi conform/none";

// --- The form of values ---

using Visitor = std::function<void(const v1::Value&, int depth)>;

/** Visits a value and its elements; those nested too deep are not visited. */
void visit(const v1::Value& value, const Visitor& visitor, int depth = 0) {
    visitor(value, depth);
    for (int i = 0; depth <= a_deepest && i < value.elements_size(); ++i) {
        visit(value.elements(i), visitor, depth + 1);
    }
}

/** Visits the values that the robot returns. */
void visitSample(
    Subject& robot,
    const std::function<void(const v1::Value&, int depth, const std::string& origin)>& visitor) {
    for (const auto& [origin, value] : robot.sampleValues()) {
        visit(value, [&visitor, &origin = origin](const v1::Value& one, int depth) {
            visitor(one, depth, origin);
        });
    }
}

/** Returns true if the field that is present is the one of the type. */
bool hasFieldOfType(const v1::Value& value) {
    const auto content = value.content_case();
    if (content == v1::Value::CONTENT_NOT_SET) {
        return v1::Value::Type_IsValid(value.type());
    }
    switch (value.type()) {
        case v1::Value::BOOL:
            return content == v1::Value::kBoolValue;
        case v1::Value::INT:
            return content == v1::Value::kIntValue;
        case v1::Value::FLOAT:
            return content == v1::Value::kFloatValue;
        case v1::Value::STRING:
            return content == v1::Value::kStringValue || content == v1::Value::kBytesValue;
        case v1::Value::BINARY:
            return content == v1::Value::kBytesValue;
        default:
            return false;
    }
}

void checkTypes(Subject& robot) {
    visitSample(robot, [](const v1::Value& value, int, const std::string& origin) {
        require(hasFieldOfType(value), "A value of " + origin + " is of type " +
                                           std::to_string(value.type()) +
                                           " and has the field of another one.");
        require(value.elements().empty() || value.type() == v1::Value::LIST ||
                    value.type() == v1::Value::MAP,
                "A value of " + origin + " has elements and is neither a list nor a map.");
    });
}

void checkTexts(Subject& robot) {
    bool isThereOne = false;
    visitSample(robot, [&](const v1::Value& value, int, const std::string& origin) {
        if (value.type() == v1::Value::STRING) {
            isThereOne = true;
            require(value.content_case() != v1::Value::kBytesValue ||
                        !base::isUtf8(value.bytes_value()),
                    "A text of " + origin + " is UTF-8 and is sent in bytes_value.");
        }
    });
    if (!isThereOne) {
        throw NotChecked("The values that the robot returns have no text.");
    }
}

void checkMaps(Subject& robot) {
    bool isThereOne = false;
    visitSample(robot, [&](const v1::Value& value, int, const std::string& origin) {
        if (value.type() != v1::Value::MAP) {
            return;
        }
        isThereOne = true;
        require(value.keys().empty() || value.bytes_keys().empty(),
                "A map of " + origin + " has keys in both fields.");
        std::set<std::string> keys(value.keys().begin(), value.keys().end());
        keys.insert(value.bytes_keys().begin(), value.bytes_keys().end());
        const int count = value.keys_size() + value.bytes_keys_size();
        require(count == value.elements_size(),
                "A map of " + origin + " has " + std::to_string(count) + " keys and " +
                    std::to_string(value.elements_size()) + " elements.");
        require(keys.size() == static_cast<std::size_t>(count),
                "A map of " + origin + " has a key twice.");
        require(value.bytes_keys().empty() ||
                    !std::all_of(value.bytes_keys().begin(), value.bytes_keys().end(),
                                 [](const std::string& key) { return base::isUtf8(key); }),
                "The keys of a map of " + origin + " are UTF-8 and are sent in bytes_keys.");
    });
    if (!isThereOne) {
        throw NotChecked("The values that the robot returns have no map.");
    }
}

void checkDepth(Subject& robot) {
    bool isThereOne = false;
    visitSample(robot, [&](const v1::Value& value, int depth, const std::string& origin) {
        const bool isNested = value.type() == v1::Value::LIST || value.type() == v1::Value::MAP;
        isThereOne = isThereOne || isNested;
        require(!isNested || depth < a_deepest, "A value of " + origin + " is nested too deep.");
    });
    if (!isThereOne) {
        throw NotChecked("The values that the robot returns have no list and no map.");
    }
}

/** Sends a value that breaks the rules, and expects an error and that the session goes on. */
void requireRefused(Subject& robot, const v1::Value& value) {
    v1::Call call = robot.harmlessCall();
    call.clear_arguments();
    *call.add_arguments() = value;
    Session session(robot);
    require(session.call(call).has_error(), "The robot accepted it.");
    session.settle();
}

void checkUnevenMap(Subject& robot) {
    v1::Value map;
    map.set_type(v1::Value::MAP);
    map.add_keys("a");
    requireRefused(robot, map);
}

void checkDoubleKey(Subject& robot) {
    v1::Value map;
    map.set_type(v1::Value::MAP);
    for (int i = 0; i < 2; ++i) {
        map.add_keys("a");
        map.add_elements();
    }
    requireRefused(robot, map);
}

void checkTooDeep(Subject& robot) {
    v1::Value nested;
    nested.set_type(v1::Value::LIST);
    for (int i = 0; i < a_deepest; ++i) {
        v1::Value outer;
        outer.set_type(v1::Value::LIST);
        *outer.add_elements() = std::move(nested);
        nested = std::move(outer);
    }
    requireRefused(robot, nested);
}

void checkUnknownType(Subject& robot) {
    v1::Value value;
    value.set_type(static_cast<v1::Value::Type>(100));
    requireRefused(robot, value);
}

// --- The memory ---

v1::Result getData(Session& session, const std::string& key) {
    return session.call(makeCall(a_memory, "getData", {textValue(key)}));
}

void checkNames(Subject& robot) {
    const std::vector<std::string> names = robot.keyNames();
    require(std::find(names.begin(), names.end(), "") == names.end(), "A name is empty.");
    require(std::set<std::string>(names.begin(), names.end()).size() == names.size(),
            "A name is used twice.");
}

void checkPrefix(Subject& robot) {
    const std::vector<std::string> names = robot.keyNames();
    const std::string prefix = names.front().substr(0, (names.front().size() + 1) / 2);
    std::vector<std::string> expected;
    std::copy_if(names.begin(), names.end(), std::back_inserter(expected),
                 [&](const std::string& name) { return name.rfind(prefix, 0) == 0; });
    Session session(robot);
    const v1::Result result = session.call(makeCall(a_memory, "getDataList", {textValue(prefix)}));
    std::vector<std::string> found;
    for (const v1::Value& name : requireValue(result).elements()) {
        found.push_back(name.string_value());
    }
    require(found == expected, "The list for the prefix '" + prefix + "' has " +
                                   std::to_string(found.size()) + " other names than the " +
                                   std::to_string(expected.size()) + " that start with it.");
    const v1::Result none = session.call(makeCall(a_memory, "getDataList", {textValue(a_none)}));
    require(requireValue(none).type() == v1::Value::LIST && none.value().elements().empty(),
            "A prefix that no key has does not give an empty list.");
}

void checkGet(Subject& robot) {
    robot.needMethod(a_memory, "getData");
    const std::vector<std::string> names = robot.keyNames();
    Session session(robot);
    for (std::size_t i = 0; i < std::min<std::size_t>(names.size(), 100); ++i) {
        require(getData(session, names[i]).has_value(),
                "getData of the listed key " + names[i] + " failed.");
    }
}

void checkUnknownKey(Subject& robot) {
    robot.needMethod(a_memory, "getData");
    Session session(robot);
    requireError(getData(session, a_none), v1::Error::INVALID_ARGUMENT);
}

void checkErrorOfMethod(Subject& robot) {
    robot.needMethod(a_memory, "getData");
    Session session(robot);
    const v1::Result result = getData(session, a_none);
    require(result.has_error(), "getData of an unknown key returned a value.");
    require(result.error().by_method(), "by_method is not set.");
    require(!result.error().text().empty(), "There is no text.");
}

void checkWrongArguments(Subject& robot) {
    robot.needMethod(a_memory, "getData");
    v1::Value number;
    number.set_type(v1::Value::INT);
    Session session(robot);
    requireError(session.call(makeCall(a_memory, "getData")), v1::Error::WRONG_ARGUMENTS);
    requireError(session.call(makeCall(a_memory, "getData", {number})), v1::Error::WRONG_ARGUMENTS);
}

// --- Writing ---

/** The key that the user allows to write. The destructor puts its value back. */
class Writable {
  public:
    explicit Writable(Subject& robot)
        : fRobot(robot), fName(robot.request().fWritable), fSession(xOpen(robot)) {
        const v1::Result result = getData(fSession, fName);
        fOriginal = requireValue(result);
    }
    ~Writable() {
        try {
            set(fOriginal);
        } catch (const std::exception&) {
            // The robot is lost; the check reports that.
        }
    }
    Writable(const Writable&) = delete;
    Writable& operator=(const Writable&) = delete;

    const v1::Value& original() const { return fOriginal; }
    v1::Value now() { return requireValue(getData(fSession, fName)); }
    v1::Result set(const v1::Value& value) {
        return fSession.call(makeCall(a_memory, "setData", {textValue(fName), value}));
    }
    /** Returns other values of the same type. @throws NotChecked if the type has none */
    std::vector<v1::Value> others() const {
        std::vector<v1::Value> others(2, fOriginal);
        switch (fOriginal.type()) {
            case v1::Value::BOOL:
                others[0].set_bool_value(!fOriginal.bool_value());
                others.pop_back();
                break;
            case v1::Value::INT:
                others[0].set_int_value(fOriginal.int_value() - 1);
                others[1].set_int_value(fOriginal.int_value() + 1);
                break;
            case v1::Value::FLOAT:
                others[0].set_float_value(fOriginal.float_value() / 2 - 0.125);
                others[1].set_float_value(fOriginal.float_value() / 2 + 0.125);
                break;
            case v1::Value::STRING:
                others[0].set_string_value(fOriginal.string_value() + "x");
                others[1].set_string_value("x");
                break;
            default:
                throw NotChecked(fName + " is not a bool, an int, a float or a text.");
        }
        return others;
    }

  private:
    static Subject& xOpen(Subject& robot) {
        if (robot.request().fWritable.empty()) {
            throw NotChecked("Nothing may be written without --write KEY.");
        }
        robot.needMethod(a_memory, "setData");
        return robot;
    }

    Subject& fRobot;
    const std::string fName;
    Session fSession;
    v1::Value fOriginal;
};

bool areEqual(const v1::Value& one, const v1::Value& other) {
    return one.SerializeAsString() == other.SerializeAsString();
}

void checkWrite(Subject& robot) {
    Writable key(robot);
    v1::Result result;
    for (const v1::Value& value : key.others()) {
        result = key.set(value);
        if (!result.has_error()) {
            require(areEqual(key.now(), value), "The key does not have the value.");
            require(!key.set(key.original()).has_error(), "The value could not be restored.");
            require(areEqual(key.now(), key.original()), "The value was not restored.");
            return;
        }
    }
    throw NotChecked("The robot refuses other values: " + result.error().text());
}

void checkWriteType(Subject& robot) {
    Writable key(robot);
    if (key.original().type() == v1::Value::NOTHING) {
        throw NotChecked("The key accepts every type.");
    }
    v1::Value list;
    list.set_type(v1::Value::LIST);
    const v1::Value wrong =
        key.original().type() == v1::Value::LIST ? textValue("x") : std::move(list);
    requireError(key.set(wrong), v1::Error::WRONG_TYPE);
}

void checkWriteRefused(Subject& robot) {
    Writable key(robot);
    v1::Value list;
    list.set_type(v1::Value::LIST);
    if (key.original().type() == v1::Value::LIST || key.original().type() == v1::Value::NOTHING) {
        throw NotChecked("The key accepts a list.");
    }
    const v1::Result result = key.set(list);
    require(result.has_error() && !result.error().text().empty(), "There is no reason.");
    require(areEqual(key.now(), key.original()), "The value has changed.");
}

void checkWriteInt(Subject& robot) {
    Writable key(robot);
    if (key.original().type() != v1::Value::FLOAT) {
        throw NotChecked("The key is not a float.");
    }
    v1::Value number;
    number.set_type(v1::Value::INT);
    number.set_int_value(static_cast<std::int64_t>(key.original().float_value()));
    const v1::Result result = key.set(number);
    require(!result.has_error() || result.error().cause() == v1::Error::RAISED_BY_MODULE,
            "The robot refused an int.");
    require(key.now().type() == v1::Value::FLOAT, "The key is no longer a float.");
}

void checkWriteUnknown(Subject& robot) {
    if (robot.request().fWritable.empty()) {
        throw NotChecked("Nothing may be written without --write KEY.");
    }
    robot.needMethod(a_memory, "setData");
    Session session(robot);
    requireError(session.call(makeCall(a_memory, "setData", {textValue(a_none), textValue("x")})),
                 v1::Error::INVALID_ARGUMENT);
}

}  // namespace

const std::vector<ConformCheck>& valueChecks() {
    static const std::vector<ConformCheck> checks = {
        {"values.types", "V1", "type says which field of a Value counts.", &checkTypes},
        {"values.texts", "V2",
         "A text is sent in string_value if it is UTF-8, and otherwise with the type STRING in "
         "bytes_value.",
         &checkTexts},
        {"values.maps", "V3", "They are as many as elements, and no key occurs twice.", &checkMaps},
        {"values.depth", "V4", "Lists and maps are nested at most 64 deep.", &checkDepth},
        {"values.uneven-map", "V5",
         "A call with a value that breaks these rules is answered with an error.", &checkUnevenMap},
        {"values.double-key", "V5",
         "A call with a value that breaks these rules is answered with an error.", &checkDoubleKey},
        {"values.too-deep", "V5",
         "A call with a value that breaks these rules is answered with an error.", &checkTooDeep},
        {"values.unknown-type", "V5",
         "A call with a value that breaks these rules is answered with an error.",
         &checkUnknownType},
        {"values.names", "memory", "Names are case-sensitive, unique and not empty.", &checkNames},
        {"values.prefix", "memory",
         "list of string: the names of the keys that start with the prefix, in the order in which "
         "they were added; all keys for an empty prefix; an empty list if there are none",
         &checkPrefix},
        {"values.get", "memory", "the newest value of the key", &checkGet},
        {"values.unknown-key", "memory",
         "An unknown key is InvalidArgument, and not a value of type nothing", &checkUnknownKey},
        {"values.error-of-method", "memory",
         "by_method is set in the answer, and the text is a whole sentence for the user.",
         &checkErrorOfMethod},
        {"values.wrong-arguments", "memory", "the number or the types of the arguments are wrong",
         &checkWrongArguments},
        {"values.write", "memory", "If all checks pass, the key has the written value.",
         &checkWrite},
        {"values.write-type", "memory", "The value is of the key's type.", &checkWriteType},
        {"values.write-refused", "memory",
         "If one fails, nothing changes, and the caller receives the reason", &checkWriteRefused},
        {"values.write-int", "memory", "An int is accepted, and converted, for a float",
         &checkWriteInt},
        {"values.write-unknown", "memory", "The key exists, and is writable.", &checkWriteUnknown},
    };
    return checks;
}

}  // namespace robaxi_tool
