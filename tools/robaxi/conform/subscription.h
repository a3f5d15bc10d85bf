#ifndef OBVISTA_TOOLS_ROBAXI_CONFORM_SUBSCRIPTION_H
#define OBVISTA_TOOLS_ROBAXI_CONFORM_SUBSCRIPTION_H

#include "conform/subject.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace robaxi_tool {

constexpr double a_fast = 1000;
/** Updates once in 1000 s: values come at once or not during a check. */
constexpr double a_slow = 0.001;

v1::SubscriptionRequest startRequest(std::uint64_t session, const std::string& module, bool allKeys,
                                     double rate);
std::vector<std::uint32_t> idsOf(const v1::Values& values);

/** A Subscribe stream that remembers the keys and values that it has received. */
class Subscription {
  public:
    explicit Subscription(Subject& robot);
    Subscription(Subject& robot, const v1::SubscriptionRequest& first);
    Subscription(Subject& robot, Session& session, bool allKeys, double rate = a_fast);

    struct Entry {
        v1::Value fValue;
        std::int64_t fTime = 0;
    };

    Rpc& rpc() { return fRpc; }
    const std::map<std::uint32_t, v1::Key>& keys() const { return fKeys; }
    const std::map<std::uint32_t, Entry>& values() const { return fValues; }
    /** Returns what a client knows that has processed every update. */
    v1::KnownState known() const;

    /** Reports every update as processed. */
    void report();
    void select(const std::vector<std::uint32_t>& ids);
    void setRate(double rate);

    /** Returns the next update; nothing at the end, or at the deadline. */
    std::optional<v1::SubscriptionUpdate> next(Clock::time_point deadline);
    /** Returns the next update, and reports it. @throws Fault if there is none in time */
    v1::SubscriptionUpdate process();
    /** Reads, and reports, until the keys and, if they are subscribed to, all values are there. */
    void readTable(bool withValues);
    /** Reads, and reports, for that time. Returns the updates. */
    std::vector<v1::SubscriptionUpdate> watch(Clock::duration time);

  private:
    void xTake(const v1::SubscriptionUpdate& update);

    Subject& fRobot;
    Rpc fRpc;
    std::uint64_t fLast = 0;
    std::uint64_t fPosition = 0;
    std::uint64_t fTable = 0;
    std::map<std::uint32_t, v1::Key> fKeys;
    std::map<std::uint32_t, Entry> fValues;
};

}  // namespace robaxi_tool

#endif
