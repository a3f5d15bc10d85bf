#ifndef OBVISTA_VIEWER_REPLAY_CLIENT_H
#define OBVISTA_VIEWER_REPLAY_CLIENT_H

#include <obvista/viewer/notice.h>
#include <obvista/viewer/replay_state.h>
#include <robaxi/kv_subscription.h>
#include <robaxi/kv_value.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

class KVConnection;
class KVProxy;

namespace obvista {

/**
 * The module "KVReplay" of a robot, if it has one: its values by subscription, its methods on a
 * thread of this object, one after the other. From any thread.
 */
class ReplayClient {
  public:
    /** @param notice given for each change of the state; must outlive this object */
    ReplayClient(const std::shared_ptr<KVConnection>& connection, Notice& notice);
    /** Returns when no callback is running. Calls in flight are cancelled. */
    ~ReplayClient();
    ReplayClient(const ReplayClient&) = delete;
    ReplayClient& operator=(const ReplayClient&) = delete;

    ReplayState state() const;

    /** Calls a method soon; does not wait. A "seek" replaces one that has not begun. */
    void call(const std::string& method, const KVValue::List& arguments);

  private:
    struct Call {
        std::string fMethod;
        KVValue::List fArguments;
    };

    void xTakeKeys(const std::vector<KVKeyInfo>& keys);
    void xTakeValues(const std::vector<KVChange>& changes);
    void xRun();

    const std::unique_ptr<KVProxy> fProxy;
    Notice& fNotice;
    mutable std::mutex fMutex;  // guards all members below except the subscription
    std::map<std::uint32_t, std::string> fNames;
    ReplayState fState;
    std::deque<Call> fCalls;
    std::condition_variable fHasCall;
    bool fIsStopping = false;
    std::thread fThread;  ///< started with the first call
    std::shared_ptr<KVSubscription> fSubscription;
};

}  // namespace obvista

#endif
