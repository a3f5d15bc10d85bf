#ifndef ROBAXI_FAILURE_H
#define ROBAXI_FAILURE_H

#include <robaxi/kv_error.h>

#include <string>

namespace robaxi {

/**
 * Thrown and kept inside the library, where it is known what went wrong but not for whom. The edge
 * of the library makes a KVError of it that names module, address and port.
 */
struct Failure {
    KVError::Cause fCause;
    /** What the cause does not say by itself; may be empty. A part of a sentence, for the user. */
    std::string fDetail;
    /** What to try next, where there is more to say than the cause has; a sentence. */
    std::string fAdvice{};
};

/** Thrown for a call that did not reach the method. Tells it from a KVError of the same cause that
 *  the method itself threw, whose text is not to be touched. */
class RefusedCall : public KVError {
  public:
    using KVError::KVError;
};

}  // namespace robaxi

#endif
