#include "settings_fields.h"

#include "failure.h"

#include <charconv>
#include <cstdlib>

namespace robaxi {

namespace {

constexpr std::size_t a_kibibyte = 1024;
constexpr std::size_t a_mebibyte = a_kibibyte * 1024;

SettingsField::Set toPath(std::string& field, const std::string& folder) {
    return [&field, folder](const std::string& text) {
        if (text.rfind("~/", 0) == 0) {
            const char* home = std::getenv("HOME");
            field = std::string(home != nullptr ? home : "") + text.substr(1);
        } else {
            field = text.empty() || text.front() == '/' ? text : folder + "/" + text;
        }
    };
}

SettingsField::Set toText(std::string& field) {
    return [&field](const std::string& text) { field = text; };
}

SettingsField::Set toBool(bool& field) {
    return [&field](const std::string& text) {
        if (text != "yes" && text != "no") {
            throw Failure{KVError::Cause::InvalidArgument, "is yes or no, not \"" + text + "\""};
        }
        field = text == "yes";
    };
}

std::size_t parseNumber(const std::string& text, std::size_t least, std::size_t most) {
    std::size_t number = 0;
    const char* const end = text.data() + text.size();
    const auto outcome = std::from_chars(text.data(), end, number);
    if (outcome.ec != std::errc() || outcome.ptr != end || number < least || number > most) {
        throw Failure{KVError::Cause::InvalidArgument, "is a number from " + std::to_string(least) +
                                                           " to " + std::to_string(most) +
                                                           ", not \"" + text + "\""};
    }
    return number;
}

std::size_t toCount(std::size_t number) {
    return number;
}

std::size_t toCount(int number) {
    return static_cast<std::size_t>(number);
}

std::size_t toCount(std::chrono::milliseconds time) {
    return static_cast<std::size_t>(time.count());
}

/** Valid range of a limit. */
struct Range {
    std::size_t fLeast;
    std::size_t fMost;
};

template <class Number>
SettingsField limitField(const std::string& key, const std::string& variable, Number& field,
                         Range range) {
    return {key, variable,
            [&field, range](const std::string& text) {
                field = Number(parseNumber(text, range.fLeast, range.fMost));
            },
            std::to_string(toCount(field))};
}

void checkAccess(const KVSettings::Access& access, const std::string& robots) {
    if (access.fUsesTls && access.fTrust.empty()) {
        throw Failure{KVError::Cause::InvalidArgument,
                      "TLS for " + robots + " needs a certificate to trust"};
    }
}

}  // namespace

std::vector<SettingsField> fieldsOf(KVSettings::Server& server, const std::string& folder) {
    return {{"certificate", "ROBAXI_SERVER_CERTIFICATE", toPath(server.fCertificate, folder), {}},
            {"key", "ROBAXI_SERVER_KEY", toPath(server.fKey, folder), {}},
            {"token", "ROBAXI_SERVER_TOKEN", toPath(server.fTokenFile, folder), {}},
            {"plain-token", "ROBAXI_SERVER_PLAIN_TOKEN", toBool(server.fAllowsPlainToken), {}}};
}

std::vector<SettingsField> fieldsOf(KVSettings::Access& access, const std::string& folder) {
    const auto setTrust = [&access, set = toPath(access.fTrust, folder)](const std::string& text) {
        set(text);
        access.fUsesTls = !access.fTrust.empty();
    };
    return {{"trust", "ROBAXI_TRUST", setTrust, {}},
            {"tls", "ROBAXI_TLS", toBool(access.fUsesTls), {}},  // after trust, which enables it
            {"name", "ROBAXI_NAME", toText(access.fName), {}},
            {"token", "ROBAXI_TOKEN", toPath(access.fTokenFile, folder), {}},
            {"plain-token", "ROBAXI_PLAIN_TOKEN", toBool(access.fAllowsPlainToken), {}}};
}

std::vector<SettingsField> fieldsOf(KVSettings::Limits& limits) {
    constexpr Range count{1, 1000000000};
    constexpr Range messageBytes{64 * a_kibibyte, 256 * a_mebibyte};
    constexpr Range frameBytes{64 * a_kibibyte, 64 * a_mebibyte};
    constexpr Range depth{1, 64};
    constexpr Range heartbeat{20, 60000};
    constexpr Range loss{40, 600000};
    constexpr Range silence{2000, 120000};
    return {limitField("message", "ROBAXI_LIMIT_MESSAGE", limits.fMessage, messageBytes),
            limitField("frame", "ROBAXI_LIMIT_FRAME", limits.fFrame, frameBytes),
            limitField("depth", "ROBAXI_LIMIT_DEPTH", limits.fDepth, depth),
            limitField("modules", "ROBAXI_LIMIT_MODULES", limits.fModules, count),
            limitField("sessions", "ROBAXI_LIMIT_SESSIONS", limits.fSessions, count),
            limitField("sessions-of-address", "ROBAXI_LIMIT_SESSIONS_OF_ADDRESS",
                       limits.fSessionsOfAddress, count),
            limitField("subscriptions", "ROBAXI_LIMIT_SUBSCRIPTIONS", limits.fSubscriptions, count),
            limitField("cameras", "ROBAXI_LIMIT_CAMERAS", limits.fCameras, count),
            limitField("keys", "ROBAXI_LIMIT_KEYS", limits.fKeys, count),
            limitField("heartbeat", "ROBAXI_HEARTBEAT", limits.fHeartbeat, heartbeat),
            limitField("loss", "ROBAXI_LOSS", limits.fLoss, loss),
            limitField("silence", "ROBAXI_SILENCE", limits.fSilence, silence)};
}

void checkLimits(const KVSettings::Limits& limits) {
    KVSettings::Limits copy = limits;
    for (const SettingsField& field : fieldsOf(copy)) {
        try {
            field.fSet(field.fText);
        } catch (const Failure& failure) {
            throw Failure{failure.fCause, "the limit " + field.fKey + " " + failure.fDetail};
        }
    }
    if (limits.fLoss < 2 * limits.fHeartbeat) {
        throw Failure{KVError::Cause::InvalidArgument, "the limit loss is at least two heartbeats"};
    }
}

void checkAccess(const KVSettings& settings) {
    checkAccess(settings.fAccess, "robots");
    for (const auto& [robot, access] : settings.fRobots) {
        checkAccess(access, "the robot " + robot);
    }
}

}  // namespace robaxi
