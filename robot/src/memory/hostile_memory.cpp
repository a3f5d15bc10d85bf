#include "memory/hostile_memory.h"

#include <array>
#include <limits>
#include <memory>
#include <string>

namespace robot {

namespace {

constexpr int a_vanishingKeys = 3;
constexpr std::size_t a_longName = 5000;
constexpr std::size_t a_longList = 100'000;
constexpr int a_deepest = 60;

KVValue binary(const std::string& bytes) {
    KVValue value;
    value.SetBinary(bytes.data(), static_cast<int>(bytes.size()));
    return value;
}

KVValue nested(int depth) {
    KVValue value("at the bottom");
    for (int level = 0; level < depth; ++level) {
        value = KVValue::List{value};
    }
    return value;
}

KVValue ofAnyType(std::uint64_t step) {
    const std::array<KVValue, 8> values{KVValue(),
                                        true,
                                        12,
                                        0.5,
                                        "<b>text</b>",
                                        binary({"\x00\xff<", 3}),
                                        KVValue::List{1, "two", 3.5},
                                        KVValue::Map{{"<i>key</i>", 1}, {"", nested(3)}}};
    return values[step % values.size()];
}

KVValue endOfRange(std::uint64_t step) {
    using Limits = std::numeric_limits<double>;
    constexpr std::array<double, 7> ends{Limits::quiet_NaN(),
                                         Limits::infinity(),
                                         -Limits::infinity(),
                                         Limits::max(),
                                         Limits::denorm_min(),
                                         -0.0,
                                         0.1};
    return ends[step % ends.size()];
}

KVValue longText(std::uint64_t step) {
    // It changes only now and then: sent at every step, it would leave no room for other values.
    constexpr std::uint64_t rest = 20;
    return std::string(HostileMemory::a_longText, static_cast<char>('a' + step / rest % 26));
}

KVValue longList() {
    return KVValue::List(a_longList, 0.25);
}

KVMemoryKey keyOf(const std::string& name, const std::string& unit, const KVValue& value) {
    return {"Hostile/" + name, unit, "<b>" + name.substr(0, 80) + "</b>\n\x1b[31m", value};
}

}  // namespace

HostileMemory::HostileMemory(std::shared_ptr<KVMemoryModule> module) : fModule(std::move(module)) {
    xAddTexts();
    xAddNumbers();
    xAddShapes();
    xAddNames();
    xAddVanishing();
}

void HostileMemory::update(std::uint64_t step) {
    std::vector<std::pair<std::uint32_t, KVValue>> values;
    for (const auto& [id, evaluate] : fChanging) {
        values.emplace_back(id, evaluate(step));
    }
    fModule->getValues()->setValues(values);
    const bool here = step % 4 < 2;
    if (here && fVanishing.empty()) {
        xAddVanishing();
    }
    while (!here && !fVanishing.empty()) {
        fModule->removeKey(fVanishing.back());
        fVanishing.pop_back();
    }
}

void HostileMemory::xAdd(const std::string& name, const std::string& unit, Evaluate evaluate) {
    const std::uint32_t id = fModule->addKey(keyOf(name, unit, evaluate(0)));
    fChanging.emplace_back(id, std::move(evaluate));
}

void HostileMemory::xAddTexts() {
    xAdd("Text/Markup", "<s>m</s>", [](std::uint64_t step) {
        return "<h1>" + std::to_string(step) +
               "</h1><img src=\"file:///etc/hostname\">&amp;<table>";
    });
    xAdd("Text/Control", "a\nb", [](std::uint64_t step) {
        return std::string("\x1b[2J\x07\r\n\t\0\x7f", 10) + std::to_string(step);
    });
    xAdd("Text/Direction", "", [](std::uint64_t step) {
        return "\u202eleft to right\u202c \u200f\u2066" + std::to_string(step);
    });
    xAdd("Text/NotUtf8", "\xff",
         [](std::uint64_t step) { return "\xff\xfe\xc3\x28\xed\xa0\x80 " + std::to_string(step); });
    xAdd("Text/Wide", "", [](std::uint64_t step) {
        return "e\u0301\u0302\u0303 \U0001F916 \uFDFD " + std::to_string(step);
    });
    xAdd("Text/Lines", "",
         [](std::uint64_t step) { return std::string(10'000, '\n') + std::to_string(step); });
    xAdd("Text/Comma", "", [](std::uint64_t) { return "1,5"; });
    xAdd("Text/Long", "", longText);
}

void HostileMemory::xAddNumbers() {
    using Limits = std::numeric_limits<std::int64_t>;
    xAdd("Number/EndOfRange", "m", endOfRange);
    xAdd("Number/NotANumber", "m",
         [](std::uint64_t) { return std::numeric_limits<double>::quiet_NaN(); });
    xAdd("Number/<h1>loud", "<b>m</b>",
         [](std::uint64_t step) { return static_cast<double>(step) / 2; });
    xAdd("Number/WholeEnds", "",
         [](std::uint64_t step) { return step % 2 == 0 ? Limits::min() : Limits::max(); });
}

void HostileMemory::xAddShapes() {
    xAdd("Type", "", ofAnyType);
    xAdd("Shape/Deep", "",
         [](std::uint64_t step) { return nested(a_deepest - static_cast<int>(step % 2)); });
    xAdd("Shape/Wide", "", [](std::uint64_t) { return longList(); });
    xAdd("Shape/Bytes", "", [](std::uint64_t step) {
        return binary(std::string(65'536, static_cast<char>(step % 256)));
    });
    xAdd("Shape/Empty", "", [](std::uint64_t) { return KVValue::Map(); });
}

void HostileMemory::xAddNames() {
    const Evaluate count = [](std::uint64_t step) { return static_cast<std::int64_t>(step); };
    for (const char* name :
         {"Name/<b>bold</b> &lt;", "Name/line\nbreak\ttab\x1b[31m", "Name//empty part",
          "Name/slash/", "Name/\u202ebackwards", "Name/ blanks ", "Name/\xff\xfe",
          "Name/comma,\"quote\";=", "Name/Folder", "Name/Folder/Key", "Name/*?[a]\\"}) {
        xAdd(name, "", count);
    }
    xAdd("Name/" + std::string(a_longName, 'n'), std::string(a_longName, 'u'), count);
}

void HostileMemory::xAddVanishing() {
    for (int i = 0; i < a_vanishingKeys; ++i) {
        const KVMemoryKey key =
            keyOf("Vanishing/" + std::to_string(i), "s", static_cast<double>(i));
        fModule->addKey(key);
        fVanishing.push_back(key.fName);
    }
}

}  // namespace robot
