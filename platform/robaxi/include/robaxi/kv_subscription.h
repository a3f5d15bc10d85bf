#ifndef ROBAXI_KV_SUBSCRIPTION_H
#define ROBAXI_KV_SUBSCRIPTION_H

#include <robaxi/kv_error.h>
#include <robaxi/kv_value_table.h>
#include <robaxi/robaxi_export.h>

#include <boost/shared_ptr.hpp>

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
 * selected keys. A slow client gets the newest values, never a growing queue.
 */
class ROBAXI_EXPORT KVSubscription {
  public:
    /**
     * Receives what the robot sends. Called on a thread of the library, one call at a time, in
     * this order: keysAdded() with the whole table first (perhaps in several calls), then the
     * others as they occur; ended() last, at most once. Must not throw.
     */
    class ROBAXI_EXPORT Listener {
      public:
        virtual ~Listener();
        /** Identifiers are unique. Names and texts are untrusted. */
        virtual void keysAdded(const std::vector<KVKeyInfo>& keys) = 0;
        /** Contains only keys that were added before. */
        virtual void keysRemoved(const std::vector<std::uint32_t>& ids) = 0;
        /** Contains only existing keys. */
        virtual void valuesChanged(const std::vector<KVChange>& changes) = 0;
        /** Reports the end of the subscription: refused, or connection lost. Not called after
         *  stop(). */
        virtual void ended(const KVError& error) = 0;
    };

    /**
     * Functions in the place of a Listener; those that are empty are not called. They are released
     * when the subscription is destroyed.
     */
    struct Callbacks {
        std::function<void(const std::vector<KVKeyInfo>&)> fKeysAdded;
        std::function<void(const std::vector<std::uint32_t>&)> fKeysRemoved;
        std::function<void(const std::vector<KVChange>&)> fValuesChanged;
        std::function<void(const KVError&)> fEnded;
    };

    /** Keys that are sent. */
    enum class Selection {
        AllKeys,    ///< every key, including those added later
        ChosenKeys  ///< the keys given to setKeys(), none before
    };

    /**
     * Starts a subscription; does not wait for the robot.
     *
     * @param connection kept alive by the subscription
     * @param module name of a module that has values, for instance "KVMemory"
     * @param rate maximum updates a second, above 0 to 1000
     * @param listener must outlive the subscription or its stop()
     * @throws KVError InvalidArgument for no connection, an empty name, a rate out of range or no
     *         listener. A refusal by the robot is reported to Listener::ended().
     */
    static boost::shared_ptr<KVSubscription> start(boost::shared_ptr<KVConnection> connection,
                                                   const std::string& module, Selection selection,
                                                   double rate, Listener* listener);

    /** Starts a subscription to all keys or to those given to setKeys(), as above. */
    static boost::shared_ptr<KVSubscription> start(boost::shared_ptr<KVConnection> connection,
                                                   const std::string& module, Selection selection,
                                                   double rate, Callbacks callbacks);

    /**
     * Starts a subscription to the keys of these names, also to those that the robot adds later.
     * The callbacks receive no other keys, and setKeys() has no effect.
     *
     * @throws KVError as above
     */
    static boost::shared_ptr<KVSubscription> start(boost::shared_ptr<KVConnection> connection,
                                                   const std::string& module,
                                                   const std::vector<std::string>& names,
                                                   double rate, Callbacks callbacks);

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

    /** Stops. Returns when the listener is not being called, unless called from it. */
    void stop();

  private:
    struct Private;
    static boost::shared_ptr<KVSubscription> xStart(boost::shared_ptr<KVConnection> connection,
                                                    const std::string& module, double rate,
                                                    std::shared_ptr<Private> implementation);
    explicit KVSubscription(std::shared_ptr<Private> implementation);
    std::shared_ptr<Private> fPrivate;
};

#endif
