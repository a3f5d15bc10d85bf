#include "key_names.h"

namespace bench {

std::vector<std::string> keyNames() {
    std::vector<std::string> names;
    names.reserve(a_keys);
    for (int i = 0; i < a_keys; ++i) {
        names.push_back("Load/Unit" + std::to_string(1000 + i / 10) + "/Drive" +
                        std::to_string(i % 10) + "/Position");
    }
    return names;
}

NamedValues::NamedValues() {
    for (const std::string& name : fNames) {
        fValues.emplace(name, 0.0);
    }
}

}  // namespace bench
