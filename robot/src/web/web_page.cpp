#include "web/web_page.h"

#include "web/web_text.h"

#include <base/safe_text.h>
#include <robaxi/kv_error.h>

#include <boost/algorithm/string/replace.hpp>

#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <utility>

namespace robot {

namespace {

constexpr std::size_t a_longestShown = 200;  // bytes of a text value

std::string numberText(double number) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.6g", number);
    return text.data();
}

std::string colourText(std::int64_t colour) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "#%06x", static_cast<unsigned>(colour & 0xffffff));
    return text.data();
}

/** Returns the first part of a key's path: each has a table of its values. */
std::string groupOf(const std::string& key) {
    return key.substr(0, key.find('/'));
}

std::string nameInGroup(const std::string& key) {
    const std::size_t slash = key.find('/');
    return slash == std::string::npos ? key : key.substr(slash + 1);
}

/** Allows line breaks at the slashes of a long path. */
std::string breakable(const std::string& html) {
    return boost::algorithm::replace_all_copy(html, "/", "/<wbr>");
}

std::string section(const std::string& title, const std::string& rows) {
    return "<section>\n<h2>" + htmlEscaped(title) + "</h2>\n<table>\n" + rows +
           "</table>\n</section>\n";
}

/** Returns the current value of a key; nothing if the key has just been removed. */
KVValue valueOf(const KVValueTable& table, const std::string& key) {
    try {
        return table.getValue(key).fValue;
    } catch (const KVError&) {
        return {};
    }
}

}  // namespace

std::string shortText(const KVValue& value, const std::string& unit) {
    switch (value.type()) {
        case KVValue::Type::Nothing:
            return "";
        case KVValue::Type::Bool:
            return value.toBool() ? "true" : "false";
        case KVValue::Type::Int:
            return unit == "RGB" ? colourText(value.toInt()) : std::to_string(value.toInt());
        case KVValue::Type::Float:
            return numberText(value.toFloat());
        case KVValue::Type::String:
            return base::shortened(value.toString(), a_longestShown);
        case KVValue::Type::Binary:
        case KVValue::Type::List:
        case KVValue::Type::Map:
            break;
    }
    return std::string(KVValue::typeName(value.type())) + " of " + std::to_string(value.getSize());
}

WebPage::WebPage(std::string name, std::string description,
                 std::vector<std::shared_ptr<KVModule>> modules,
                 std::shared_ptr<KVValueTable> values)
    : fName(std::move(name)),
      fDescription(std::move(description)),
      fModules(std::move(modules)),
      fValues(std::move(values)) {
}

std::string WebPage::html() const {
    const std::string name = htmlEscaped(fName);
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
           name +
           "</title>\n<link rel=\"icon\" href=\"/media/buddy.icon\">\n"
           "<link rel=\"stylesheet\" href=\"/page.css\">\n"
           "<script src=\"/page.js\" defer></script>\n</head>\n<body>\n<header>\n"
           "<img src=\"/media/buddy.icon\" alt=\"\" width=\"64\" height=\"64\">\n<div><h1>" +
           name + "</h1>\n<p>" + htmlEscaped(fDescription) +
           " <span id=\"state\" role=\"status\"></span></p></div>\n</header>\n<main>\n" +
           xModules() + xValues() + "</main>\n</body>\n</html>\n";
}

std::string WebPage::json() const {
    std::string text = "{";
    for (const KVKeyInfo& key : fValues->getKeys()) {
        text += text.size() > 1 ? ",\n" : "\n";
        text += '"' + std::to_string(key.fId) +
                "\": " + jsonQuoted(shortText(valueOf(*fValues, key.fName), key.fUnit));
    }
    return text + "\n}\n";
}

std::string WebPage::style() {
    return R"(:root { color-scheme: light dark; --line: #d5d9e0; --soft: #5b6472; --card: #fff; --page: #f4f6f9; }
@media (prefers-color-scheme: dark) { :root { --line: #3a414d; --soft: #a4adba; --card: #20242b;
                                       --page: #15181d; } }
body { margin: 0 auto; max-width: 75rem; padding: 1rem; font: 0.95rem/1.4 system-ui, sans-serif;
       background: var(--page); }
header { display: flex; gap: 1rem; align-items: center; margin-bottom: 1rem; }
h1 { margin: 0; font-size: 1.6rem; overflow-wrap: anywhere; }
h2 { margin: 0 0 0.4rem; font-size: 1.05rem; }
p { margin: 0.2rem 0; color: var(--soft); }
section { background: var(--card); border: 1px solid var(--line); border-radius: 0.5rem;
          padding: 0.8rem 1rem; margin-bottom: 1rem; }
.values { columns: 24rem; column-gap: 1rem; }
.values section { break-inside: avoid; }
table { border-collapse: collapse; width: 100%; table-layout: fixed; }
th { font-weight: normal; text-align: left; color: var(--soft); width: 58%; }
th, td { padding: 0.12rem 0; overflow-wrap: anywhere; vertical-align: top; }
td { text-align: right; font-variant-numeric: tabular-nums; }
td.methods { text-align: left; }
td + td { text-align: left; width: 4rem; padding-left: 0.5rem; color: var(--soft); }
tr + tr > * { border-top: 1px solid var(--line); }
code { font: 0.9rem ui-monospace, monospace; }
)";
}

std::string WebPage::script() {
    return R"('use strict';
const state = document.getElementById('state');
const cells = new Map();
for (const cell of document.querySelectorAll('td[data-id]')) {
    cells.set(cell.dataset.id, cell);
}
function show(values) {
    for (const [id, text] of Object.entries(values)) {
        const cell = cells.get(id);
        if (cell && cell.textContent !== text) {
            cell.textContent = text;
        }
    }
    const keys = Object.keys(values);
    if (keys.length !== cells.size || keys.some((id) => !cells.has(id))) {
        location.reload();
    }
}
async function update() {
    try {
        const answer = await fetch('/values.json', { cache: 'no-store' });
        show(await answer.json());
        state.textContent = '';
    } catch (error) {
        state.textContent = '– it does not answer at present';
    }
    setTimeout(update, 1000);
}
update();
)";
}

std::string WebPage::xModules() const {
    std::string rows;
    for (const std::shared_ptr<KVModule>& module : fModules) {
        const KVModuleInfo info = module->getInfo();
        std::string methods;
        for (const KVMethodInfo& method : info.fMethods) {
            methods += "<code>" + htmlEscaped(method.fSignature) + "</code><br>";
        }
        rows += "<tr><th scope=\"row\"><strong>" + htmlEscaped(info.fName) + "</strong><br>" +
                htmlEscaped(info.fDescription) + "</th><td class=\"methods\">" + methods +
                "</td></tr>\n";
    }
    return section("Modules", rows);
}

std::string WebPage::xValues() const {
    std::map<std::string, std::string> groups;
    for (const KVKeyInfo& key : fValues->getKeys()) {
        groups[groupOf(key.fName)] +=
            "<tr><th scope=\"row\">" + breakable(htmlEscaped(nameInGroup(key.fName))) +
            "</th><td data-id=\"" + std::to_string(key.fId) + "\">" +
            htmlEscaped(shortText(valueOf(*fValues, key.fName), key.fUnit)) + "</td><td>" +
            htmlEscaped(key.fUnit) + "</td></tr>\n";
    }
    std::string text = "<div class=\"values\">\n";
    for (const auto& [group, rows] : groups) {
        text += section(group, rows);
    }
    return text + "</div>\n";
}

}  // namespace robot
