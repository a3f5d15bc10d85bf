#include "editing/robot_writer.h"

#include <robaxi/kv_error.h>
#include <robaxi/kv_proxy.h>

namespace memoryviewer {

namespace {

constexpr char a_module[] = "KVMemory";
constexpr char a_method[] = "setData";

}  // namespace

RobotWriter::RobotWriter(const std::shared_ptr<KVConnection>& connection, double timeOut)
    : fConnection(connection), fTimeOut(timeOut) {
}

RobotWriter::~RobotWriter() = default;

void RobotWriter::write(const std::string& key, const KVValue& value) {
    xProxy()->callValue(a_method, {KVValue(key), value});
}

void RobotWriter::cancel() {
    const std::lock_guard<std::mutex> lock(fMutex);
    fIsCancelled = true;
    if (const auto proxy = fProxy.lock()) {
        proxy->close();
    }
}

std::shared_ptr<KVProxy> RobotWriter::xProxy() {
    const std::shared_ptr<KVConnection> connection = fConnection.lock();
    const std::lock_guard<std::mutex> lock(fMutex);
    if (fIsCancelled || !connection) {
        throw KVError(KVError::Cause::Cancelled, "The connection is being closed.");
    }
    auto proxy = std::make_shared<KVProxy>(a_module, connection, fTimeOut);
    fProxy = proxy;
    return proxy;
}

}  // namespace memoryviewer
