#include <obvista/viewer/robot_values.h>

#include <utility>

namespace obvista {

RobotValues::~RobotValues() {
    stop();
}

void RobotValues::start(const std::shared_ptr<KVConnection>& connection, const std::string& module,
                        double rate) {
    stop();
    fSubscription = KVSubscription::start(connection, module, KVSubscription::Selection::AllKeys,
                                          rate, xCallbacks());
}

void RobotValues::start(const std::shared_ptr<KVConnection>& connection, const std::string& module,
                        const std::vector<std::string>& names, double rate) {
    stop();
    fSubscription = KVSubscription::start(connection, module, names, rate, xCallbacks());
}

/** Identifiers are those of one subscription. */
void RobotValues::stop() {
    fSubscription.reset();
    const std::lock_guard<std::mutex> lock(fMutex);
    fNames.clear();
    fHasEnded = false;
}

std::map<std::string, KVValue> RobotValues::take() {
    const std::lock_guard<std::mutex> lock(fMutex);
    return std::exchange(fNews, {});
}

bool RobotValues::hasEnded() const {
    const std::lock_guard<std::mutex> lock(fMutex);
    return fHasEnded;
}

KVSubscription::Callbacks RobotValues::xCallbacks() {
    KVSubscription::Callbacks callbacks;
    callbacks.fKeysAdded = [this](const std::vector<KVKeyInfo>& keys) { xAddKeys(keys); };
    callbacks.fKeysRemoved = [this](const std::vector<std::uint32_t>& ids) { xRemoveKeys(ids); };
    callbacks.fValuesChanged = [this](const std::vector<KVChange>& changes) { xChange(changes); };
    callbacks.fEnded = [this](const KVError& error) { xEnd(error); };
    return callbacks;
}

void RobotValues::xAddKeys(const std::vector<KVKeyInfo>& keys) {
    const std::lock_guard<std::mutex> lock(fMutex);
    for (const KVKeyInfo& key : keys) {
        fNames[key.fId] = key.fName;
    }
}

void RobotValues::xRemoveKeys(const std::vector<std::uint32_t>& ids) {
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        for (const std::uint32_t id : ids) {
            fNews[fNames[id]] = KVValue();
            fNames.erase(id);
        }
    }
    fNotice.give();
}

void RobotValues::xChange(const std::vector<KVChange>& changes) {
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        for (const KVChange& change : changes) {
            fNews[fNames[change.fId]] = change.fValue;
        }
    }
    fNotice.give();
}

void RobotValues::xEnd(const KVError& error) {
    if (error.cause() == KVError::Cause::ConnectionLost) {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fHasEnded = true;
    }
    fNotice.give();
}

}  // namespace obvista
