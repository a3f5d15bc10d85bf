#ifndef ROBAXI_ADMISSION_H
#define ROBAXI_ADMISSION_H

#include "robaxi/v1/robaxi.pb.h"
#include "timer_thread.h"

#include <grpcpp/grpcpp.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace robaxi {

class Server;

/** Number and bytes of the RPCs of a broker that belong to no session. */
struct RpcLoad {
    std::atomic<std::size_t> fCount{0};
    std::atomic<std::size_t> fBytes{0};
};

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
     */
    void start(Done done);

    /** Counts bytes that the RPC holds until its end. Returns false if there is no room for them.
     */
    bool holdBytes(std::size_t bytes);

  private:
    void xCheck();
    void xRefuse(v1::Error::Cause cause, const std::string& text = std::string());

    Server& fServer;
    grpc::CallbackServerContext* const fContext;
    const std::shared_ptr<RpcLoad> fLoad;
    const std::size_t fMostBytes;
    std::atomic<std::size_t> fBytes{0};
    std::string fAddress;
    std::string fToken;
    Done fDone;
    Timer fTurn;
};

}  // namespace robaxi

#endif
