#include "server/token_guard.h"

#include <algorithm>

namespace robaxi {

namespace {

constexpr int a_quickRefusals = 5;
constexpr std::chrono::seconds a_turn(1);
/** Maximum number of records; beyond it the one with the oldest turn is dropped. */
constexpr std::size_t a_mostRecords = 1024;

}  // namespace

bool TokenGuard::isSlowed(int refusals) {
    return refusals >= a_quickRefusals;
}

std::optional<TokenGuard::Clock::time_point> TokenGuard::reserveTurn(const std::string& address,
                                                                     Clock::time_point now,
                                                                     Clock::duration longest) {
    const std::lock_guard lock(fMutex);
    const auto found = fRecords.find(address);
    if (found == fRecords.end() || !isSlowed(found->second.fRefusals)) {
        return now;
    }
    const auto turn = std::max(found->second.fNextTurn, now) + a_turn;
    if (turn - now > longest) {
        return std::nullopt;
    }
    found->second.fNextTurn = turn;
    return turn;
}

int TokenGuard::countRefusal(const std::string& address) {
    const std::lock_guard lock(fMutex);
    if (fRecords.count(address) == 0 && fRecords.size() >= a_mostRecords) {
        fRecords.erase(std::min_element(fRecords.begin(), fRecords.end(),
                                        [](const auto& left, const auto& right) {
                                            return left.second.fNextTurn < right.second.fNextTurn;
                                        }));
    }
    return ++fRecords[address].fRefusals;
}

void TokenGuard::countAcceptance(const std::string& address) {
    const std::lock_guard lock(fMutex);
    fRecords.erase(address);
}

}  // namespace robaxi
