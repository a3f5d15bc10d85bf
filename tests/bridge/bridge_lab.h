#ifndef OBVISTA_TESTS_BRIDGE_BRIDGE_LAB_H
#define OBVISTA_TESTS_BRIDGE_BRIDGE_LAB_H

// The hosts of a lab with the bridge and robots of ROS 2, and what a client sees of the bridge.

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_frame_stream.h>
#include <robaxi/kv_subscription.h>

#include <boost/shared_ptr.hpp>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace obvista_test {

/** Returns the path of a program of the build. */
std::string builtProgram(const std::string& program);

/**
 * A host of the lab with one program; killed when the object is destroyed. Each has another
 * address: the other hosts would look for a new one at the previous one's hardware address.
 */
class BridgeHost {
  public:
    /** @param ready text of the line with which the program reports that it runs */
    BridgeHost(const std::string& ready, const std::vector<std::string>& command);
    ~BridgeHost();
    BridgeHost(const BridgeHost&) = delete;
    BridgeHost& operator=(const BridgeHost&) = delete;

    std::string address() const { return "10.77.5." + std::to_string(fNumber); }
    std::string output() const;
    /** Runs a command of the shell in the host; returns its output. */
    std::string run(const std::string& command) const;

    /** Waits until the program has written a text. */
    bool waitForOutput(const std::string& text) const;

  private:
    static int fCount;
    const int fNumber;
    const std::string fName;
};

/** Returns a host with a bridge that is named marvin. @param environment words "NAME=VALUE", and
 *  a program that starts the bridge with its arguments */
BridgeHost makeBridge(const std::vector<std::string>& options = {},
                      const std::vector<std::string>& environment = {});

/** Returns the same in a host whose firewall drops DDS's multicast packets. */
BridgeHost makeBridgeBehindAFirewall(const std::vector<std::string>& environment = {});

/** Starts the same firewall in a host whose programs run already. */
void startFirewall(const BridgeHost& host);

/** Returns a host with ros2_writer in domain 0. */
BridgeHost makeRos2Robot(const std::string& mode, const std::vector<std::string>& arguments = {});

/** The values of a bridge, as a viewer has them. */
class BridgeValues {
  public:
    explicit BridgeValues(const BridgeHost& bridge);

    /** Waits for a value that fulfils a condition. */
    std::optional<KVChange> wait(const std::string& name,
                                 const std::function<bool(const KVValue&)>& condition);
    std::optional<KVChange> wait(const std::string& name);

    /** Returns true if there is a key at present. */
    bool has(const std::string& name);

    /** Waits until so many keys begin with a text. */
    bool waitForCount(const std::string& beginning, std::size_t count);
    bool waitForNone(const std::string& beginning) { return waitForCount(beginning, 0); }

    std::string unit(const std::string& name);
    const std::shared_ptr<KVConnection>& connection() const { return fConnection; }

  private:
    std::optional<KVChange> xFind(const std::string& name) const;
    std::size_t xCount(const std::string& beginning) const;

    std::mutex fMutex;  // guards the following members
    std::condition_variable fChanged;
    std::map<std::uint32_t, KVKeyInfo> fKeys;
    std::map<std::string, std::uint32_t> fIds;
    std::map<std::uint32_t, KVChange> fValues;
    boost::shared_ptr<KVBroker> fBroker;
    std::shared_ptr<KVConnection> fConnection;
    std::shared_ptr<KVSubscription> fSubscription;
};

/** Conditions on values. */
std::function<bool(const KVValue&)> textIs(const std::string& expected);
std::function<bool(const KVValue&)> textHas(const std::string& part);
std::function<bool(const KVValue&)> isAbove(double limit);

/** Counts the frames of a camera. */
class FrameCounter {
  public:
    KVFrameStream::Callbacks callbacks();
    bool waitFor(int count);
    KVFrame frame();

  private:
    std::mutex fMutex;  // guards the following members
    std::condition_variable fChanged;
    KVFrame fFrame;
    int fCount = 0;
};

}  // namespace obvista_test

#endif
