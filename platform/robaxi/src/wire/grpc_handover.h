#ifndef ROBAXI_GRPC_HANDOVER_H
#define ROBAXI_GRPC_HANDOVER_H

#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
#endif

/**
 * gRPC passes what it is given from the thread that starts an operation to the one on which it
 * reports its end. It is not built for ThreadSanitizer, which therefore does not see that; these
 * two say it. What our own locks guard needs no such word, and gets none.
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

/** Stands in each reaction of a stream before its last one, OnDone(), which takes what they did. */
class GrpcReaction {
  public:
    explicit GrpcReaction(const void* stream) : fStream(stream) {}
    ~GrpcReaction() { giveToGrpc(fStream); }
    GrpcReaction(const GrpcReaction&) = delete;
    GrpcReaction& operator=(const GrpcReaction&) = delete;

  private:
    const void* const fStream;
};

}  // namespace robaxi

#endif
