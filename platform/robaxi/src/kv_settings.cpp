#include "failure.h"
#include "settings_fields.h"

#include <base/address.h>
#include <base/blanks.h>
#include <base/user_folder.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_settings.h>

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <sys/stat.h>

namespace {

using boost::property_tree::ptree;
using robaxi::Failure;
using robaxi::SettingsField;

constexpr std::string_view a_robotSection = "robot:";

std::optional<std::string> environment(const std::string& variable) {
    const char* const text = std::getenv(variable.c_str());
    return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

/** A configuration file with the line numbers of its texts. */
class ConfigurationFile {
  public:
    explicit ConfigurationFile(const std::string& file) : fFile(file) {
        std::ifstream stream(file);
        if (!stream) {
            xThrow(0, "it cannot be read");
        }
        try {
            boost::property_tree::read_ini(stream, fTree);
        } catch (const boost::property_tree::ini_parser_error& error) {
            xThrow(error.line(), error.message());
        }
        xReadLines();
    }

    void applyTo(KVSettings& settings) const {
        xApplySection("robots", settings.fAccess);
        for (const auto& [name, content] : fTree) {
            if (!content.data().empty()) {
                xThrow(xLineOf(name, {}), name + " is outside any section");
            }
            if (name.rfind(a_robotSection, 0) == 0) {
                const std::string robot(base::trimmed(name.substr(a_robotSection.size())));
                auto& access = settings.fRobots.emplace(robot, settings.fAccess).first->second;
                xApply(name, content, robaxi::fieldsOf(access, xFolder()));
            } else if (name == "server") {
                xApply(name, content, robaxi::fieldsOf(settings.fServer, xFolder()));
            } else if (name == "limits") {
                xApply(name, content, robaxi::fieldsOf(settings.fLimits));
            } else if (name != "robots") {
                xThrow(xLineOf(name, {}), "there is no section named " + name);
            }
        }
    }

  private:
    struct Line {
        std::string fSection;
        std::string fKey;  // empty where the section begins
        unsigned long fNumber;
    };

    void xApplySection(const std::string& section, KVSettings::Access& access) const {
        const auto found = fTree.find(section);
        if (found != fTree.not_found()) {
            xApply(section, found->second, robaxi::fieldsOf(access, xFolder()));
        }
    }

    void xApply(const std::string& section, const ptree& content,
                const std::vector<SettingsField>& fields) const {
        const auto unknown =
            std::find_if(content.begin(), content.end(), [&fields](const auto& setting) {
                return std::none_of(
                    fields.begin(), fields.end(),
                    [&setting](const SettingsField& field) { return field.fKey == setting.first; });
            });
        if (unknown != content.end()) {
            xThrow(xLineOf(section, unknown->first),
                   "there is no setting " + unknown->first + " in a section " + section);
        }
        for (const SettingsField& field : fields) {
            const auto found = content.find(field.fKey);
            if (found == content.not_found()) {
                continue;
            }
            try {
                field.fSet(found->second.data());
            } catch (const Failure& failure) {
                xThrow(xLineOf(section, field.fKey), field.fKey + " " + failure.fDetail);
            }
        }
    }

    void xReadLines() {
        std::ifstream stream(fFile);
        std::string section;
        std::string text;
        for (unsigned long number = 1; std::getline(stream, text); ++number) {
            text = base::trimmed(text);
            if (!text.empty() && text.front() == '[') {
                section = base::trimmed(text.substr(1, text.find(']') - 1));
                fLines.push_back({section, {}, number});
            } else {
                const std::string key(base::trimmed(text.substr(0, text.find('='))));
                fLines.push_back({section, key, number});
            }
        }
    }

    unsigned long xLineOf(const std::string& section, const std::string& key) const {
        for (const Line& line : fLines) {
            const bool isInSection = line.fSection == section && line.fKey == key;
            const bool isInNone = line.fSection.empty() && line.fKey == section;
            if (isInSection || isInNone) {
                return line.fNumber;
            }
        }
        return 0;
    }

    std::string xFolder() const { return fFile.substr(0, fFile.rfind('/')); }

    [[noreturn]] void xThrow(unsigned long line, const std::string& what) const {
        throw KVError(KVError::Cause::InvalidArgument,
                      "The configuration file " + fFile +
                          (line == 0 ? std::string() : ", line " + std::to_string(line)) + ": " +
                          what + ".");
    }

    const std::string fFile;
    ptree fTree;
    std::vector<Line> fLines;
};

void applyEnvironment(const std::vector<SettingsField>& fields) {
    for (const SettingsField& field : fields) {
        const auto text = environment(field.fVariable);
        if (!text) {
            continue;
        }
        try {
            field.fSet(*text);
        } catch (const Failure& failure) {
            throw KVError(
                KVError::Cause::InvalidArgument,
                "The environment variable " + field.fVariable + " " + failure.fDetail + ".");
        }
    }
}

bool exists(const std::string& file) {
    struct stat status {};
    return ::stat(file.c_str(), &status) == 0 || errno != ENOENT;
}

/** Adds a folder, to which the paths in the file are relative. */
std::string withFolder(const std::string& file) {
    return file.find('/') == std::string::npos ? "./" + file : file;
}

}  // namespace

KVSettings KVSettings::load(const std::string& file) {
    KVSettings settings;
    ConfigurationFile(withFolder(file)).applyTo(settings);
    return settings;
}

KVSettings KVSettings::load() {
    KVSettings settings;
    const std::string named = environment("ROBAXI_CONFIG").value_or("");
    const std::string folder = base::settingsFolder();
    const std::string usual = folder + "/robaxi.conf";
    if (!named.empty()) {
        settings = load(named);
    } else if (!folder.empty() && exists(usual)) {
        settings = load(usual);
    }
    applyEnvironment(robaxi::fieldsOf(settings.fServer, "."));
    applyEnvironment(robaxi::fieldsOf(settings.fAccess, "."));
    for (auto& [name, access] : settings.fRobots) {
        applyEnvironment(robaxi::fieldsOf(access, "."));
    }
    applyEnvironment(robaxi::fieldsOf(settings.fLimits));
    return settings;
}

const KVSettings::Access& KVSettings::accessTo(const std::string& address, int port) const {
    // A section of the file cannot hold brackets.
    for (const std::string& name :
         {base::hostAndPort(address, port), address + ":" + std::to_string(port), address}) {
        const auto found = fRobots.find(name);
        if (found != fRobots.end()) {
            return found->second;
        }
    }
    return fAccess;
}
