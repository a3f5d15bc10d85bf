#include "loss_witness.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>

#include <chrono>

namespace obvista_test {

LossWitness::LossWitness(int port)
    : fBroker(KVBroker::createBroker({"Witness"})),
      fConnection(KVConnection::open(fBroker, "127.0.0.1", port, 30)) {
    fConnection->setLostHandler([this](const KVError&) {
        const std::lock_guard<std::mutex> lock(fMutex);
        fIsLost = true;
        fCondition.notify_all();
    });
}

LossWitness::~LossWitness() = default;

bool LossWitness::wait() {
    std::unique_lock<std::mutex> lock(fMutex);
    return fCondition.wait_for(lock, std::chrono::seconds(30), [this] { return fIsLost; });
}

}  // namespace obvista_test
