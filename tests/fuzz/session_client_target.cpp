// Messages from a robot on a session, received by our client.
#include "fuzz_target.h"
#include "loopback.h"
#include "lying_robot.h"
#include "pieces.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_proxy.h>

#include <functional>

namespace {

/** Shorter than the time after which an input counts as hanging. */
constexpr int a_timeOut = 5;

void tryTo(const std::function<void()>& action) {
    try {
        action();
    } catch (const KVError& error) {
        using obvista_fuzz::require;
        require(error.cause() != KVError::Cause::TimedOut, "the robot's end of a session is seen");
        require(!error.toString().empty(), "an error has a sentence");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using obvista_fuzz::a_loopback;
    obvista_fuzz::LyingRobot& robot = obvista_fuzz::LyingRobot::instance();
    robot.setBatches(obvista_fuzz::pieces(data, size));
    tryTo([&robot] {
        const auto connection =
            KVConnection::open(robot.client(), a_loopback, robot.port(), a_timeOut);
        tryTo([&connection] { connection->getModules(a_timeOut); });
        KVProxy proxy("Echo", a_loopback, robot.port(), robot.client(), a_timeOut, 0);
        while (connection->isConnected()) {
            tryTo([&proxy] { proxy.callVoid("echo", 1); });
        }
    });
    return 0;
}
