#include "application_arguments.h"

namespace obvista {

namespace {

const char a_pluginOption[] = "--plugin";

std::vector<std::string> rewritten(int argc, const char* const* argv) {
    std::vector<std::string> texts;
    for (int i = 0; i < argc; ++i) {
        std::string text = argv[i];
        if (text == a_pluginOption) {
            text += '=';
            if (i + 1 < argc && argv[i + 1][0] != '-') {
                text += argv[++i];
            }
        }
        texts.push_back(std::move(text));
    }
    return texts;
}

}  // namespace

ApplicationArguments::ApplicationArguments(int argc, const char* const* argv)
    : fTexts(rewritten(argc, argv)), fCount(static_cast<int>(fTexts.size())) {
    for (std::string& text : fTexts) {
        fValues.push_back(text.data());
    }
    fValues.push_back(nullptr);
}

}  // namespace obvista
