#ifndef ROBAXI_OUTLET_H
#define ROBAXI_OUTLET_H

#include "wire/grpc_handover.h"
#include "wire/write_gate.h"

#include <grpcpp/grpcpp.h>

#include <functional>
#include <utility>

namespace robaxi {

/** The writing side of one gRPC stream: admits one write at a time. */
class Outlet {
  public:
    using StartWrite = std::function<void(const grpc::ByteBuffer*)>;

    explicit Outlet(StartWrite startWrite) : fStartWrite(std::move(startWrite)) {}
    Outlet(const Outlet&) = delete;
    Outlet& operator=(const Outlet&) = delete;

    /** If it returns true, the caller calls write(). */
    bool enter() { return fGate.enter(); }

    /** Starts a write, after enter(). */
    void write(const grpc::ByteBuffer& bytes) {
        fBytes = bytes;
        giveToGrpc(&fBytes);
        fStartWrite(&fBytes);
    }

    /** Called at the end of each write. If it returns true, the caller ends the stream. */
    [[nodiscard]] bool leave() {
        takeFromGrpc(&fBytes);
        fBytes.Clear();
        return fGate.leave();
    }

    /**
     * Admits no further write. If it returns true, the caller ends the stream; otherwise a later
     * leave() returns true, or the stream is already ending.
     */
    [[nodiscard]] bool close() { return fGate.close(); }

  private:
    const StartWrite fStartWrite;
    WriteGate fGate;
    grpc::ByteBuffer fBytes;  // owned by gRPC while a write is in flight
};

}  // namespace robaxi

#endif
