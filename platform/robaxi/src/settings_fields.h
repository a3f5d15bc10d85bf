#ifndef ROBAXI_SETTINGS_FIELDS_H
#define ROBAXI_SETTINGS_FIELDS_H

#include <robaxi/kv_settings.h>

#include <functional>
#include <string>
#include <vector>

/** The settings as texts: what the configuration file and the environment have in common. */
namespace robaxi {

/** One setting. */
struct SettingsField {
    /** Sets it from a text. @throws Failure InvalidArgument, which says what is wrong with it */
    using Set = std::function<void(const std::string& text)>;

    std::string fKey;       ///< in the file, for instance "certificate"
    std::string fVariable;  ///< in the environment, for instance "ROBAXI_SERVER_CERTIFICATE"
    Set fSet;
    std::string fText;  ///< its present value; of limits only
};

/**
 * The fields of settings, which must outlive them.
 *
 * @param folder to which paths in the texts are relative
 */
std::vector<SettingsField> fieldsOf(KVSettings::Server& server, const std::string& folder);
std::vector<SettingsField> fieldsOf(KVSettings::Access& access, const std::string& folder);
std::vector<SettingsField> fieldsOf(KVSettings::Limits& limits);

/** @throws Failure InvalidArgument */
void checkLimits(const KVSettings::Limits& limits);

}  // namespace robaxi

#endif
