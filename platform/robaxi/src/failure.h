#ifndef ROBAXI_FAILURE_H
#define ROBAXI_FAILURE_H

#include <robaxi/kv_error.h>
#include <robaxi/robaxi_export.h>

#include <string>

namespace robaxi {

/**
 * An error inside the library, where the cause is known but not the module and the address. At its
 * boundary the library converts it into a KVError that names module, address and port.
 */
struct ROBAXI_EXPORT Failure {
    KVError::Cause fCause;
    /**
     * Details that the cause does not contain; may be empty. A part of a sentence, for the user.
     */
    std::string fDetail;
    /** Advice in addition to that of the cause; a sentence. */
    std::string fAdvice{};
};

/**
 * Thrown for a call that did not reach the method. Distinguishes it from a KVError of the same
 * cause that the method itself threw, whose text must not be changed.
 */
class ROBAXI_EXPORT RefusedCall : public KVError {
  public:
    using KVError::KVError;
};

}  // namespace robaxi

#endif
