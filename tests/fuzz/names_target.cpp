// Names and texts from the network, as they are made safe to show.
#include "fuzz_target.h"
#include "host_name.h"
#include "values/value_text.h"

#include <base/csv.h>
#include <base/safe_text.h>

#include <algorithm>

namespace {

using obvista_fuzz::require;

bool hasControlCharacter(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](char character) {
        constexpr unsigned char firstPrinted = 0x20;
        constexpr unsigned char deleted = 0x7F;
        const auto byte = static_cast<unsigned char>(character);
        return byte < firstPrinted || byte == deleted;
    });
}

void requireSafe(const std::string& text) {
    require(base::isUtf8(text), "what is shown is valid UTF-8");
    require(!hasControlCharacter(text), "what is shown does not control the terminal");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace KV::bonjour;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string name = makeSafeHostName(unescapeDomainName(text));
    requireSafe(name);
    require(name.size() <= a_maximumHostNameSize, "a host name is bounded");
    require(makeSafeHostName(name) == name, "a safe host name stays as it is");
    require(foldHostName(foldHostName(name)) == foldHostName(name), "a folded name stays so");
    isAddressLiteral(text);
    isAddressLiteral(name);

    requireSafe(base::oneLine(text));
    requireSafe(robaxi_tool::valueText(KVValue(text)));
    requireSafe(robaxi_tool::valueText(KVValue(KVValue::Map{{text, KVValue::List{text}}})));
    requireSafe(base::csvText(base::reversibleLine(text, base::Quotes::Double)));
    requireSafe(base::shortened(base::oneLine(text), text.size() / 2));
    const std::string json = robaxi_tool::jsonLine(robaxi_tool::valueJson(KVValue(text)));
    require(json.back() == '\n', "a line of JSON ends");
    requireSafe(json.substr(0, json.size() - 1));
    return 0;
}
