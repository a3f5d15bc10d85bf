#ifndef OBVISTA_MEMORYVIEWER_MEMORY_KEYS_H
#define OBVISTA_MEMORYVIEWER_MEMORY_KEYS_H

#include <obvista/viewer/key_list.h>

#include <vector>

namespace memoryviewer {

/** The keys of the memory viewer for the list that F1 opens. */
std::vector<viewer::KeyGroup> memoryKeys();

}  // namespace memoryviewer

#endif
