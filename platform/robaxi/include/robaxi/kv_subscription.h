#ifndef ROBAXI_KV_SUBSCRIPTION_H
#define ROBAXI_KV_SUBSCRIPTION_H

#include <robaxi/kv_error.h>
#include <robaxi/kv_value_table.h>
#include <robaxi/robaxi_export.h>

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class KVConnection;

/**
 * A subscription to the changing values of one module.
 *
 * The robot first sends the table of keys, then, at most at the chosen rate, what changed among the
 * chosen keys. A client that is slow gets the newest values, never a growing queue.
 */
class ROBAXI_EXPORT KVSubscription {
  public:
    /**
     * Receives what the robot sends. Called on a thread of the library, one call at a time, in
     * this order: keysAdded() with the whole table first (perhaps in several calls), then the
     * others as they happen; ended() last, at most once. Must not throw.
     */
    class ROBAXI_EXPORT Listener {
      public:
        virtual ~Listener();
        /** No key has the identifier of another one. Names and texts are untrusted. */
        virtual void keysAdded(const std::vector<KVKeyInfo>& keys) = 0;
        /** Only keys that were added before. */
        virtual void keysRemoved(const std::vector<std::uint32_t>& ids) = 0;
        /** Only of keys that are there. */
        virtual void valuesChanged(const std::vector<KVChange>& changes) = 0;
        /** The subscription is over: refused, or the connection is lost. Not called after stop().
         */
        virtual void ended(const KVError& error) = 0;
    };

    /** Which keys are sent. */
    enum class Selection {
        AllKeys,    ///< every key, those added later too
        ChosenKeys  ///< those given to setKeys(), none before it is called
    };

    /**
     * Starts a subscription; does not wait for the robot.
     *
     * @param connection kept alive by the subscription
     * @param module name of a module that has values, for instance "KVMemory"
     * @param rate highest number of updates a second, above 0 to 1000
     * @param listener must outlive the subscription or its stop()
     * @throws KVError InvalidArgument for no connection, an empty name, a rate out of range or no
     *         listener. What the robot refuses is told by Listener::ended().
     */
    static boost::shared_ptr<KVSubscription> start(boost::shared_ptr<KVConnection> connection,
                                                   const std::string& module, Selection selection,
                                                   double rate, Listener* listener);

    /** Stops. */
    ~KVSubscription();
    KVSubscription(const KVSubscription&) = delete;
    KVSubscription& operator=(const KVSubscription&) = delete;

    /** Chooses the keys to be sent, in place of those chosen before; a key newly chosen is sent at
     *  once with its present value. Identifiers of no key are passed over, and all of them with
     *  Selection::AllKeys. */
    void setKeys(const std::vector<std::uint32_t>& ids);
    /** Changes the rate (updates a second, above 0 to 1000), without a gap.
     *  @throws KVError InvalidArgument */
    void setRate(double rate);

    /** Ends it; returns when the listener is not being called any more, unless called from it. */
    void stop();

  private:
    struct Private;
    explicit KVSubscription(std::shared_ptr<Private> implementation);
    std::shared_ptr<Private> fPrivate;
};

#endif
