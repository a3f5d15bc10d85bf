#ifndef ROBAXI_GRPC_HANDOVER_H
#define ROBAXI_GRPC_HANDOVER_H

#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
#endif

/**
 * Annotations for ThreadSanitizer. gRPC passes data from the thread that starts an operation to the
 * one that reports its end. gRPC is not built for ThreadSanitizer, which therefore does not see
 * that; these two functions declare it. Data guarded by our own locks needs no annotation.
 */
namespace robaxi {

#if defined(__SANITIZE_THREAD__)

inline void giveToGrpc(const void* what) {
    __tsan_release(const_cast<void*>(what));
}

inline void takeFromGrpc(const void* what) {
    __tsan_acquire(const_cast<void*>(what));
}

#else

inline void giveToGrpc(const void* /*what*/) {
}
inline void takeFromGrpc(const void* /*what*/) {
}

#endif

/**
 * Placed at the beginning of each reaction of a stream: it acquires what the starts of operations
 * have released. The last reaction, OnDone(), acquires the effects of the others.
 */
class GrpcReaction {
  public:
    explicit GrpcReaction(const void* stream) : fStream(stream) { takeFromGrpc(fStream); }
    ~GrpcReaction() { giveToGrpc(fStream); }
    GrpcReaction(const GrpcReaction&) = delete;
    GrpcReaction& operator=(const GrpcReaction&) = delete;

  private:
    const void* const fStream;
};

}  // namespace robaxi

#endif
