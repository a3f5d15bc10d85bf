#ifndef ROBAXI_ADMISSION_H
#define ROBAXI_ADMISSION_H

#include "robaxi/v1/robaxi.pb.h"
#include "server/rpc_load.h"
#include "timer_thread.h"

#include <grpcpp/grpcpp.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace robaxi {

class Server;

/**
 * Admission of an RPC that belongs to no session: checks the limits, and the token in its metadata.
 * Owned by the RPC.
 */
class Admission {
  public:
    /** Receives the reason why the RPC is refused, or nothing. */
    using Done = std::function<void(const std::optional<v1::Error>& refusal)>;

    Admission(Server& server, grpc::CallbackServerContext* context);
    ~Admission();
    Admission(const Admission&) = delete;
    Admission& operator=(const Admission&) = delete;

    /**
     * Calls `done` once: at once, or on the timer thread if the token has to wait until it is
     * checked.
     *
     * @param bytes that the RPC holds until its end
     */
    void start(std::size_t bytes, Done done);

    /** Counts the bytes of a result, which the RPC holds until its end. */
    void addResult(std::size_t bytes);
    /** Returns the refusal if RPCs of the same address already hold too many bytes. */
    std::optional<v1::Error> refusalForRoom() const;

  private:
    void xCheck();
    void xRefuse(v1::Error::Cause cause, const std::string& text = std::string());

    Server& fServer;
    grpc::CallbackServerContext* const fContext;
    const std::string fAddress;
    const std::shared_ptr<RpcLoad> fLoad;
    bool fIsCounted = false;
    std::size_t fBytes = 0;  // that are counted
    std::string fToken;
    Done fDone;
    Timer fTurn;
};

}  // namespace robaxi

#endif
