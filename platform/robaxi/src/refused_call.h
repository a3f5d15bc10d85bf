#ifndef ROBAXI_REFUSED_CALL_H
#define ROBAXI_REFUSED_CALL_H

#include <robaxi/kv_error.h>

namespace robaxi {

/** Thrown for a call that did not reach the method. Tells it from a KVError of the same cause that
 *  the method itself threw, whose text is not to be touched. */
class RefusedCall : public KVError {
  public:
    using KVError::KVError;
};

}  // namespace robaxi

#endif
