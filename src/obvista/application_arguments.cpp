#include "application_arguments.h"

#include <algorithm>

namespace obvista {

ApplicationArguments::ApplicationArguments(int argc, const char* const* argv)
    : fTexts(argv, argv + argc), fCount(argc) {
    for (std::string& text : fTexts) {
        fValues.push_back(text == fPlugin ? fHidden.data() : text.data());
    }
    fValues.push_back(nullptr);
}

void ApplicationArguments::showPlugin() {
    std::replace(fValues.begin(), fValues.begin() + fCount, fHidden.data(), fPlugin.data());
}

}  // namespace obvista
