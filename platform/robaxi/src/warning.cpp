#include "warning.h"

#include <iostream>

namespace robaxi {

void warn(const std::string& brokerName, const std::string& text) {
    // As one string, so that lines of two threads do not mix.
    std::cerr << "robaxi: " + brokerName + ": " + text + "\n";
}

}  // namespace robaxi
