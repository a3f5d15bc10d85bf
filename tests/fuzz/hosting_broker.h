#ifndef OBVISTA_TESTS_FUZZ_HOSTING_BROKER_H
#define OBVISTA_TESTS_FUZZ_HOSTING_BROKER_H

#include "robaxi/v1/robaxi.grpc.pb.h"

#include <robaxi/kv_broker.h>

#include <grpcpp/grpcpp.h>

#include <memory>

namespace obvista_fuzz {

/** A broker that listens on the loopback and hosts "KVEcho" and "KVMemory", with a way to reach it
 *  without the library. One for the whole run, so that what an input does to it shows in the next
 *  ones. */
class HostingBroker {
  public:
    using Session = grpc::ClientReaderWriter<robaxi::v1::ClientBatch, robaxi::v1::ServerBatch>;

    static HostingBroker& instance();
    /** Another one, which lets nobody in who does not know a_token. */
    static HostingBroker& guarded();

    static constexpr const char* a_token = "a secret";

    robaxi::v1::Robaxi::Stub& stub() { return *fStub; }

    /** The number of a session that stays open, as long as this is called every few seconds. Not
     *  of the guarded one. */
    std::uint64_t keepSession();

    /** Says hello and returns the session's number, 0 when it was refused. */
    static std::uint64_t sayHello(Session& session);

    /** An input that takes longer than this has found a defect. */
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
