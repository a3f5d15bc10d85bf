#ifndef OBVISTA_VIEWER_REPLAY_CLIENT_H
#define OBVISTA_VIEWER_REPLAY_CLIENT_H

#include <obvista/viewer/notice.h>
#include <obvista/viewer/replay_state.h>
#include <obvista/viewer/robot_values.h>
#include <robaxi/kv_value.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

class KVConnection;
class KVProxy;

namespace obvista {

/**
 * The module "KVReplay" of a robot, if it has one: its values by subscription, its methods on a
 * thread of this object, one after the other. Used on the GUI thread.
 */
class ReplayClient {
  public:
    /** @param notice given for each change of the state; must outlive this object */
    ReplayClient(const std::shared_ptr<KVConnection>& connection, Notice& notice);
    /** Returns when no callback is running. Calls in flight are cancelled. */
    ~ReplayClient();
    ReplayClient(const ReplayClient&) = delete;
    ReplayClient& operator=(const ReplayClient&) = delete;

    /**
     * Returns the newest state, of which isReplay() is false if the robot has no such module;
     * nothing before the robot has answered.
     */
    std::optional<ReplayState> state();

    /**
     * Calls a method soon; does not wait. A "seek" replaces one that has not begun, and the count
     * of a "step" is added to it.
     */
    void call(const std::string& method, const KVValue::List& arguments);

  private:
    struct Call {
        std::string fMethod;
        KVValue::List fArguments;
    };

    bool xReplaceLast(const std::string& method, const KVValue::List& arguments);
    void xRun();

    RobotValues fValues;
    ReplayState fState;
    const std::unique_ptr<KVProxy> fProxy;
    std::mutex fMutex;  // guards the two members below
    std::deque<Call> fCalls;
    bool fIsStopping = false;
    std::condition_variable fHasCall;
    std::thread fThread;  ///< started with the first call
};

}  // namespace obvista

#endif
