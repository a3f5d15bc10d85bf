#include "editing/robot_writer.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_proxy.h>

#include <utility>

namespace memoryviewer {

namespace {

constexpr char a_module[] = "KVMemory";
constexpr char a_method[] = "setData";

}  // namespace

RobotWriter::RobotWriter(boost::shared_ptr<KVBroker> broker, std::string address, int port,
                         int timeOut)
    : fBroker(std::move(broker)), fAddress(std::move(address)), fPort(port), fTimeOut(timeOut) {
}

RobotWriter::~RobotWriter() = default;

void RobotWriter::write(const std::string& key, const KVValue& value) {
    xProxy()->callValue(a_method, {KVValue(key), value});
}

void RobotWriter::cancel() {
    const std::lock_guard<std::mutex> lock(fMutex);
    fIsCancelled = true;
    if (fProxy) {
        fProxy->cancel();
    }
}

/** Connecting takes time, so it is done without the lock, for which cancel() waits. */
std::shared_ptr<KVProxy> RobotWriter::xProxy() {
    const auto throwIfCancelled = [this] {
        if (fIsCancelled) {
            throw KVError(KVError::Cause::Cancelled, "The connection is being closed.");
        }
    };
    std::unique_lock<std::mutex> lock(fMutex);
    throwIfCancelled();
    if (!fProxy) {
        lock.unlock();
        auto proxy = std::make_shared<KVProxy>(a_module, fAddress, fPort, fBroker, fTimeOut, 0);
        lock.lock();
        throwIfCancelled();
        fProxy = std::move(proxy);
    }
    return fProxy;
}

}  // namespace memoryviewer
