#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <recorded_robot/json_value.h>
#include <utility>
#include <vector>

namespace recorded_robot {

namespace {

using Json = nlohmann::json;

/** Maximum nesting of the protocol. */
constexpr std::size_t a_deepest = 64;

constexpr int a_numberOutOfRange = 406;  // the parser's number for this error

[[noreturn]] void refuseNumber(const std::string& number) {
    throw JsonLimit("the number " + number + " is too large");
}

/** Builds a value from the parser's events. The parser fixes the names of the operations. */
class ValueBuilder : public nlohmann::json_sax<Json> {
  public:
    explicit ValueBuilder(LargeIntegers largeIntegers) : fLargeIntegers(largeIntegers) {}

    KVValue takeValue() { return std::move(fValue); }

    bool null() override { return xAdd({}); }
    bool boolean(bool value) override { return xAdd(value); }
    bool number_integer(std::int64_t value) override { return xAdd(value); }
    bool number_unsigned(std::uint64_t value) override {
        if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
            return xAdd(static_cast<std::int64_t>(value));
        }
        return xAddLarge(static_cast<double>(value), std::to_string(value));
    }
    bool number_float(double value, const std::string& text) override {
        // The parser converts integers that are too large to floating-point numbers, and loses
        // digits.
        return text.find_first_of(".eE") == std::string::npos ? xAddLarge(value, text)
                                                              : xAdd(value);
    }
    bool string(std::string& value) override { return xAdd(value); }
    bool binary(Json::binary_t& /*value*/) override { return false; }

    bool start_object(std::size_t /*size*/) override { return xOpen(true); }
    bool key(std::string& value) override {
        fOpen.back().fKey = value;
        return true;
    }
    bool end_object() override { return xClose(); }
    bool start_array(std::size_t /*size*/) override { return xOpen(false); }
    bool end_array() override { return xClose(); }

    bool parse_error(std::size_t /*position*/, const std::string& lastToken,
                     const Json::exception& error) override {
        if (error.id == a_numberOutOfRange) {
            refuseNumber(lastToken);
        }
        return false;
    }

  private:
    struct Container {
        bool fIsMap;
        KVValue::List fList;
        KVValue::Map fMap;
        std::string fKey;  ///< of the next element
    };

    bool xOpen(bool isMap) {
        if (fOpen.size() == a_deepest) {
            throw JsonLimit("lists and maps are nested more than 64 deep");
        }
        fOpen.push_back({isMap, {}, {}, {}});
        return true;
    }

    bool xClose() {
        const Container done = std::move(fOpen.back());
        fOpen.pop_back();
        return xAdd(done.fIsMap ? KVValue(done.fMap) : KVValue(done.fList));
    }

    bool xAddLarge(double value, const std::string& text) {
        if (fLargeIntegers == LargeIntegers::Refused) {
            refuseNumber(text);
        }
        return xAdd(value);
    }

    bool xAdd(KVValue value) {
        if (fOpen.empty()) {
            fValue = std::move(value);
        } else if (fOpen.back().fIsMap) {
            fOpen.back().fMap[fOpen.back().fKey] = std::move(value);
        } else {
            fOpen.back().fList.push_back(std::move(value));
        }
        return true;
    }

    const LargeIntegers fLargeIntegers;
    std::vector<Container> fOpen;
    KVValue fValue;
};

}  // namespace

std::optional<KVValue> valueOfJson(std::string_view text, LargeIntegers largeIntegers) {
    ValueBuilder builder(largeIntegers);
    if (!Json::sax_parse(text.begin(), text.end(), &builder)) {
        return std::nullopt;
    }
    return builder.takeValue();
}

std::optional<KVValue> valueOfMessage(std::string_view message, std::size_t mostBytes) {
    if (message.size() > mostBytes) {
        return std::nullopt;
    }
    try {
        return valueOfJson(message, LargeIntegers::BecomeFloats);
    } catch (const JsonLimit&) {
        return std::nullopt;
    }
}

std::optional<KVValue::Map> mapOfMessage(std::string_view message, std::size_t mostBytes) {
    const std::optional<KVValue> value = valueOfMessage(message, mostBytes);
    return value && value->type() == KVValue::Type::Map ? std::optional(value->toMap())
                                                        : std::nullopt;
}

std::string textOf(const KVValue::Map& map, const std::string& key) {
    const auto found = map.find(key);
    return found != map.end() && found->second.type() == KVValue::Type::String
               ? found->second.toString()
               : std::string();
}

}  // namespace recorded_robot
