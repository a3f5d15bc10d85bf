#ifndef OBVISTA_VIEWER_ROBOT_VALUES_H
#define OBVISTA_VIEWER_ROBOT_VALUES_H

#include <obvista/viewer/notice.h>
#include <obvista/viewer/viewer_export.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_subscription.h>
#include <robaxi/kv_value.h>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class KVConnection;

namespace obvista {

/**
 * The values of a robot's module by the names of their keys, taken from the threads of the
 * middleware to the GUI thread. Only the newest value of each key is kept between two calls of
 * take().
 *
 * A link has it as a member, starts it when its values are needed, and stops it in
 * RobotLink::stop():
 *
 * ```cpp
 * fValues.start(connection(), "KVMemory", {"Battery/Charge"}, 5);
 * ```
 *
 * Used on the GUI thread.
 */
class OBVISTA_VIEWER_EXPORT RobotValues {
  public:
    /** @param notice given when there is something to take, and when the robot has ended the
     *         subscription; must outlive this object */
    explicit RobotValues(Notice& notice) : fNotice(notice) {}
    /** Stops. */
    ~RobotValues();
    RobotValues(const RobotValues&) = delete;
    RobotValues& operator=(const RobotValues&) = delete;

    /**
     * Subscribes to all values of a module instead of what was subscribed before. Does not wait. A
     * robot without the module refuses; see hasEnded().
     *
     * @param rate maximum updates a second, above 0 to 1000
     * @throws KVError InvalidArgument for no connection, an empty name or a rate out of range
     */
    void start(const std::shared_ptr<KVConnection>& connection, const std::string& module,
               double rate);
    /** Subscribes to the values of these names only, also to those that the robot adds later. */
    void start(const std::shared_ptr<KVConnection>& connection, const std::string& module,
               const std::vector<std::string>& names, double rate);

    /** Ends the subscription. Returns when no thread of the middleware uses this object. What came
     *  before can still be taken. */
    void stop();

    /** Returns the values that have arrived since the last call. A key that the robot has removed
     *  has a value of nothing. The names are untrusted. */
    std::map<std::string, KVValue> take();

    /** Returns true if the robot has refused or ended the subscription, for instance because it has
     *  no such module; false after a loss of the connection, which the link reports. */
    bool hasEnded() const;

  private:
    KVSubscription::Callbacks xCallbacks();
    void xAddKeys(const std::vector<KVKeyInfo>& keys);
    void xRemoveKeys(const std::vector<std::uint32_t>& ids);
    void xChange(const std::vector<KVChange>& changes);
    void xEnd(const KVError& error);

    Notice& fNotice;
    mutable std::mutex fMutex;  // guards the three members below
    std::map<std::uint32_t, std::string> fNames;
    std::map<std::string, KVValue> fNews;
    bool fHasEnded = false;
    std::shared_ptr<KVSubscription> fSubscription;
};

}  // namespace obvista

#endif
