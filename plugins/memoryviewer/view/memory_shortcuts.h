#ifndef OBVISTA_MEMORYVIEWER_MEMORY_SHORTCUTS_H
#define OBVISTA_MEMORYVIEWER_MEMORY_SHORTCUTS_H

#include <obvista/viewer/key_list.h>

#include <vector>

namespace memoryviewer {

/** The keys of the memory viewer for the list that F1 opens. */
std::vector<viewer::KeyGroup> memoryShortcuts();

}  // namespace memoryviewer

#endif
