#ifndef OBVISTA_TESTS_FUZZ_LYING_ROBOT_H
#define OBVISTA_TESTS_FUZZ_LYING_ROBOT_H

#include "robaxi/v1/robaxi.grpc.pb.h"

#include <robaxi/kv_broker.h>

#include <grpcpp/grpcpp.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace obvista_fuzz {

/**
 * A server on the loopback that sends hello and then arbitrary input, and a broker of ours to
 * connect to it.
 */
class LyingRobot : private robaxi::v1::Robaxi::Service {
  public:
    static LyingRobot& instance();

    int port() const { return fPort; }
    const boost::shared_ptr<KVBroker>& client() const { return fClient; }

    /**
     * Sets what it sends on sessions: a batch before each refusal of a request; after the last one
     * it ends them.
     */
    void setBatches(std::vector<std::string> batches);
    /**
     * Sets what it sends on subscriptions before it ends them. With updates, sessions stay open.
     */
    void setUpdates(std::vector<std::string> updates);

  private:
    using SessionStream =
        grpc::ServerReaderWriter<robaxi::v1::ServerBatch, robaxi::v1::ClientBatch>;
    using SubscriptionStream =
        grpc::ServerReaderWriter<robaxi::v1::SubscriptionUpdate, robaxi::v1::SubscriptionRequest>;

    LyingRobot();
    ~LyingRobot() override;

    grpc::Status Session(grpc::ServerContext* context, SessionStream* stream) override;
    grpc::Status Subscribe(grpc::ServerContext* context, SubscriptionStream* stream) override;

    std::vector<std::string> xBatches();
    std::vector<std::string> xUpdates();

    int fPort = 0;
    std::unique_ptr<grpc::Server> fServer;
    boost::shared_ptr<KVBroker> fClient;

    std::mutex fMutex;  // guards all members below
    std::vector<std::string> fBatches;
    std::vector<std::string> fUpdates;
};

}  // namespace obvista_fuzz

#endif
