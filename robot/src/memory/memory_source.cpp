#include "memory/memory_source.h"

namespace robot {

MemorySource::~MemorySource() = default;

}  // namespace robot
