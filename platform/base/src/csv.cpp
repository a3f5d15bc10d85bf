#include <base/csv.h>

namespace base {

namespace {

/** Programs that read CSV may drop blanks around a field. */
bool needsQuotes(const std::string& line) {
    return line.find_first_of(",\"") != std::string::npos ||
           (!line.empty() && (line.front() == ' ' || line.back() == ' '));
}

}  // namespace

std::string csvField(const std::string& line) {
    if (!needsQuotes(line)) {
        return line;
    }
    std::string quoted = "\"";
    for (const char character : line) {
        quoted.append(character == '"' ? 2 : 1, character);
    }
    return quoted + '"';
}

std::string csvText(const std::string& line) {
    const bool looksLikeFormula =
        !line.empty() && std::string("=+-@").find(line.front()) != std::string::npos;
    return csvField(looksLikeFormula ? '\'' + line : line);
}

}  // namespace base
