#include "web/web_text.h"

#include <base/safe_text.h>

namespace robot {

std::string htmlEscaped(const std::string& text) {
    return base::rewritten(text, [](char32_t code) -> std::string {
        switch (code) {
            case '&':
                return "&amp;";
            case '<':
                return "&lt;";
            case '>':
                return "&gt;";
            case '"':
                return "&quot;";
            case '\'':
                return "&#39;";
            case 0:
                return std::string(base::a_replacement);
            default:
                return {};
        }
    });
}

std::string jsonQuoted(const std::string& text) {
    const std::string body = base::rewritten(text, [](char32_t code) -> std::string {
        if (code == '"' || code == '\\') {
            return {'\\', static_cast<char>(code)};
        }
        // "</script>" and "<!--" would end the element around it.
        return base::isUnsafe(code) || code == '<' ? base::escaped(code) : std::string();
    });
    return '"' + body + '"';
}

}  // namespace robot
