#ifndef OBVISTA_TESTS_FUZZ_HOSTING_BROKER_H
#define OBVISTA_TESTS_FUZZ_HOSTING_BROKER_H

#include "robaxi/v1/robaxi.grpc.pb.h"

#include <robaxi/kv_broker.h>

#include <grpcpp/grpcpp.h>

#include <memory>

namespace obvista_fuzz {

/**
 * A broker on the loopback that hosts "KVEcho" and "KVMemory", and access to it without the
 * library. One for the whole run, so that the effects of an input show in the next ones.
 */
class HostingBroker {
  public:
    using Session = grpc::ClientReaderWriter<robaxi::v1::ClientBatch, robaxi::v1::ServerBatch>;

    static HostingBroker& instance();
    /** A second one, which admits only clients that know a_token. */
    static HostingBroker& guarded();

    static constexpr const char* a_token = "a secret";

    robaxi::v1::Robaxi::Stub& stub() { return *fStub; }

    /**
     * Returns the id of a session that stays open while this is called every few seconds. Not for
     * the guarded one.
     */
    std::uint64_t keepSession();

    /** Sends hello and returns the session's id; 0 if it was refused. */
    static std::uint64_t sayHello(Session& session);

    /** Sets the deadline: an input that takes longer has found a defect. */
    static void setDeadline(grpc::ClientContext& context);

  private:
    explicit HostingBroker(boost::shared_ptr<KVBroker> broker);

    void xOpenSession();

    boost::shared_ptr<KVBroker> fBroker;
    std::unique_ptr<robaxi::v1::Robaxi::Stub> fStub;
    std::unique_ptr<grpc::ClientContext> fContext;
    std::unique_ptr<Session> fSession;
    std::uint64_t fSessionId = 0;
};

}  // namespace obvista_fuzz

#endif
