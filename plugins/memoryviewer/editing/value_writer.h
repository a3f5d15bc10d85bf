#ifndef OBVISTA_MEMORYVIEWER_VALUE_WRITER_H
#define OBVISTA_MEMORYVIEWER_VALUE_WRITER_H

#include <robaxi/kv_value.h>

#include <string>

namespace memoryviewer {

/** Writes values of keys, one at a time. */
class ValueWriter {
  public:
    virtual ~ValueWriter() = default;

    /** Writes and waits until the robot has accepted. @throws KVError when it has not */
    virtual void write(const std::string& key, const KVValue& value) = 0;
    /** Ends a write that is waiting on another thread, and every later one, with KVError. */
    virtual void cancel() = 0;
};

}  // namespace memoryviewer

#endif
