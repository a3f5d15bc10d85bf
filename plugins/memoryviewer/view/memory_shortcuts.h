#ifndef OBVISTA_MEMORYVIEWER_MEMORY_SHORTCUTS_H
#define OBVISTA_MEMORYVIEWER_MEMORY_SHORTCUTS_H

#include <obvista/viewer/key_help.h>

#include <vector>

namespace memoryviewer {

/** Returns the memory viewer's keys for the list opened by F1. */
std::vector<obvista::KeyGroup> memoryShortcuts();

}  // namespace memoryviewer

#endif
