#include "process/tool_library.h"

#include "process/failure.h"

#include <base/library.h>

#include <filesystem>

namespace robaxi_tool {

void* functionOfToolLibrary(const std::string& library, const char* name) {
    const std::string file =
        std::filesystem::read_symlink("/proc/self/exe").parent_path().string() +
        OBVISTA_TOOL_LIBRARIES + "/lib" + library + ".so";
    try {
        return base::functionOfLibrary(file, name);
    } catch (const base::LibraryError& error) {
        throw Failure(ExitStatus::Internal,
                      "A part of the program cannot be loaded: " + std::string(error.what()) +
                          "; install the program again.");
    }
}

}  // namespace robaxi_tool
