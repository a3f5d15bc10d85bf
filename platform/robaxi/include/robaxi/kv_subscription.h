#ifndef ROBAXI_KV_SUBSCRIPTION_H
#define ROBAXI_KV_SUBSCRIPTION_H

#include <robaxi/kv_error.h>
#include <robaxi/kv_value_table.h>
#include <robaxi/robaxi_export.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class KVConnection;

/**
 * A subscription to the changing values of one module.
 *
 * The robot first sends the table of keys, then, at most at the requested rate, changes of the
 * selected keys. A slow client gets the newest values, never a growing queue, and the number of
 * changes that they replaced.
 */
class ROBAXI_EXPORT KVSubscription {
  public:
    /**
     * Functions that receive what the robot sends; empty ones are skipped. Called on a thread of
     * the library, one call at a time, in this order: fKeysAdded with the whole table first
     * (perhaps in several calls), then the others as they occur; fEnded last, at most once. They
     * must not throw. They and what they captured are released when the subscription has been
     * destroyed and none of them is running.
     */
    struct Callbacks {
        /** Identifiers are unique. Names and texts are untrusted. */
        std::function<void(const std::vector<KVKeyInfo>& keys)> fKeysAdded;
        /** Contains only keys that were added before. */
        std::function<void(const std::vector<std::uint32_t>& ids)> fKeysRemoved;
        /** Contains only existing keys. */
        std::function<void(const std::vector<KVChange>& changes)> fValuesChanged;
        /** Reports the end of the subscription: refused, or connection lost. Not called after
         *  stop(). */
        std::function<void(const KVError& error)> fEnded;
        /** Receives the number of changes of the selected keys that were not sent, because newer
         *  ones replaced them before they could be: since the last call, and not counting changes
         *  before a key was selected. Called before fValuesChanged with the newer values, if there
         *  were such changes. */
        std::function<void(std::uint64_t count)> fValuesPassedOver = nullptr;
    };

    /** Keys that are sent. */
    enum class Selection {
        AllKeys,    ///< every key, including those added later
        ChosenKeys  ///< the keys given to setKeys(), none before
    };

    /**
     * Starts a subscription to all keys or to those given to setKeys(); does not wait for the
     * robot.
     *
     * @param connection kept alive by the subscription
     * @param module name of a module that has values, for instance "KVMemory"
     * @param rate maximum updates a second, above 0 to 1000
     * @throws KVError InvalidArgument for no connection, an empty name or a rate out of range. A
     *         refusal by the robot is reported to Callbacks::fEnded.
     */
    static std::shared_ptr<KVSubscription> start(std::shared_ptr<KVConnection> connection,
                                                 const std::string& module, Selection selection,
                                                 double rate, Callbacks callbacks);

    /**
     * Starts a subscription to the keys of these names, also to those that the robot adds later.
     * The callbacks receive no other keys, and setKeys() has no effect.
     *
     * @throws KVError as above
     */
    static std::shared_ptr<KVSubscription> start(std::shared_ptr<KVConnection> connection,
                                                 const std::string& module,
                                                 const std::vector<std::string>& names, double rate,
                                                 Callbacks callbacks);

    /** Stops, as stop() does. */
    ~KVSubscription();
    KVSubscription(const KVSubscription&) = delete;
    KVSubscription& operator=(const KVSubscription&) = delete;

    /** Replaces the selected keys; the current value of a newly selected key is sent at once.
     *  Unknown identifiers are ignored, and so is the whole call with Selection::AllKeys. */
    void setKeys(const std::vector<std::uint32_t>& ids);
    /** Changes the rate (updates a second, above 0 to 1000) without interrupting the stream.
     *  @throws KVError InvalidArgument */
    void setRate(double rate);

    /** Stops. Returns when no callback is running, except one from which it is called. */
    void stop();

  private:
    struct Private;
    static std::shared_ptr<KVSubscription> xStart(std::shared_ptr<KVConnection> connection,
                                                  const std::string& module, Selection selection,
                                                  const std::vector<std::string>& names,
                                                  double rate, Callbacks callbacks);
    explicit KVSubscription(std::shared_ptr<Private> implementation);
    std::shared_ptr<Private> fPrivate;
};

#endif
