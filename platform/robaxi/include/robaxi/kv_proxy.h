#ifndef ROBAXI_KV_PROXY_H
#define ROBAXI_KV_PROXY_H

#include <robaxi/kv_error.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_value.h>
#include <robaxi/robaxi_export.h>

#include <boost/shared_ptr.hpp>

#include <memory>
#include <string>
#include <vector>

class KVBroker;
class KVConnection;

/**
 * A client of one module of a robot.
 *
 * Calls may be made from several threads at once. The time-out given to the constructor applies to
 * connecting and to each call.
 */
class ROBAXI_EXPORT KVProxy {
  public:
    /**
     * Connects to a module.
     *
     * @param moduleName the module, for instance "KVLeds"
     * @param ip address or host name of the robot
     * @param port 1 to 65535
     * @param broker the broker to use; kept alive by the proxy
     * @param timeOut seconds, at least 1
     * @param flags has no effect
     * @throws KVError InvalidArgument for an empty name, no broker or a number out of range;
     *         otherwise, within the time-out, if nothing listens there, nothing answers, or there
     *         is no such module: its text names module, address, port and cause
     */
    KVProxy(const std::string& moduleName, const std::string& ip, int port,
            boost::shared_ptr<KVBroker> broker, int timeOut, int flags);
    /**
     * Uses an open connection. Sends nothing and never waits: if the module does not exist, calls
     * fail with NoSuchModule.
     *
     * The proxy shares the connection's link, and keeps it and the broker alive, also after the
     * connection is destroyed. It does not report the loss of the robot: calls then fail with
     * ConnectionLost.
     *
     * @param moduleName the module, for instance "KVLeds"
     * @param connection an open or lost one
     * @param timeOut seconds for each call, above 0
     * @throws KVError InvalidArgument for an empty name, no connection or a time-out that is not
     *         above 0
     */
    KVProxy(const std::string& moduleName, const std::shared_ptr<KVConnection>& connection,
            double timeOut);
    /** Calls in flight on other threads end with KVError (Cancelled). Posted calls are still sent;
     *  the last user of the link waits up to half a second for that. */
    ~KVProxy();
    KVProxy(const KVProxy&) = delete;
    KVProxy& operator=(const KVProxy&) = delete;

    /** Calls a method without arguments and waits until it returns. @throws KVError */
    void callVoid(const std::string& method) { callValue(method, {}); }

    /** Calls a method with one argument and waits until it returns. @throws KVError */
    template <class T>
    void callVoid(const std::string& method, const T& argument) {
        callValue(method, {KVValue(argument)});
    }

    /**
     * Posts a call with one argument: hands it to the link and does not wait for it.
     *
     * @return the task's identifier, positive and different for each post of this proxy's link
     * @throws KVError if the call cannot be posted
     */
    template <class T>
    int pCall(const std::string& method, const T& argument) {
        return postValue(method, {KVValue(argument)});
    }

    /**
     * Calls a method and returns its result as R, one of the types of KVValue::to().
     *
     * @throws KVError as callValue() and KVValue::to()
     */
    template <class R, class... Args>
    R call(const std::string& method, const Args&... arguments) {
        const KVValue result = callValue(method, {KVValue(arguments)...});
        return result.to<R>();
    }

    /**
     * Calls a method and waits for its result.
     *
     * @throws KVError what the method raised; NoSuchMethod, WrongArguments, TimedOut, Cancelled,
     *         ConnectionLost or TooLarge if the call was not completed
     */
    KVValue callValue(const std::string& method, const KVValue::List& arguments);

    /** Posts a call as pCall() does, with any number of arguments. */
    int postValue(const std::string& method, const KVValue::List& arguments);

    /** Ends this proxy's calls in flight on other threads with KVError (Cancelled). */
    void cancel();

    /** Cancels as cancel() does and makes every later call fail likewise, to end threads. */
    void close();

    /** Requests the module's description and methods again. @throws KVError as callValue() */
    KVModuleInfo getInfo();

  private:
    struct Private;
    std::shared_ptr<Private> fPrivate;
};

#endif
