#ifndef BASE_LISTED_H
#define BASE_LISTED_H

#include <string>

namespace base {

/** Returns the texts of some items, separated by commas: "A, B, C". */
template <class Items, class TextOf>
std::string listed(const Items& items, TextOf textOf) {
    std::string list;
    for (const auto& item : items) {
        list += (list.empty() ? "" : ", ") + textOf(item);
    }
    return list;
}

/** Returns texts, separated by commas. */
template <class Texts>
std::string listed(const Texts& texts) {
    return listed(texts, [](const std::string& text) { return text; });
}

}  // namespace base

#endif
