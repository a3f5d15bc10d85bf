#ifndef ROBAXI_SETTINGS_FIELDS_H
#define ROBAXI_SETTINGS_FIELDS_H

#include <robaxi/kv_settings.h>

#include <functional>
#include <string>
#include <vector>

/** The settings as texts, for the configuration file and the environment. */
namespace robaxi {

/** One setting. */
struct SettingsField {
    /** Sets it from a text. @throws Failure InvalidArgument with the error in the text */
    using Set = std::function<void(const std::string& text)>;

    std::string fKey;       ///< in the file, for instance "certificate"
    std::string fVariable;  ///< in the environment, for instance "ROBAXI_SERVER_CERTIFICATE"
    Set fSet;
    std::string fText;  ///< its current value; only for limits
};

/**
 * Returns the fields of settings, which must outlive them.
 *
 * @param folder to which paths in the texts are relative
 */
std::vector<SettingsField> fieldsOf(KVSettings::Server& server, const std::string& folder);
std::vector<SettingsField> fieldsOf(KVSettings::Access& access, const std::string& folder);
std::vector<SettingsField> fieldsOf(KVSettings::Limits& limits);

/** @throws Failure InvalidArgument */
void checkLimits(const KVSettings::Limits& limits);

/** @throws Failure InvalidArgument when the settings for reaching a robot contradict themselves */
void checkAccess(const KVSettings& settings);

}  // namespace robaxi

#endif
