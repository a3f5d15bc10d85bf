#ifndef OBVISTA_TOOLS_ROBAXI_PROCESS_TOOL_LIBRARY_H
#define OBVISTA_TOOLS_ROBAXI_PROCESS_TOOL_LIBRARY_H

#include <string>

namespace robaxi_tool {

/**
 * Loads one of the program's own libraries, which are separate since what they use takes longer to
 * load than most commands run. It is never unloaded.
 *
 * @param library for instance "robaxi_conform"
 * @param name of the function to return
 * @throws Failure Internal
 */
void* functionOfToolLibrary(const std::string& library, const char* name);

/** The same with the function's type. */
template <class Function>
Function* functionOfToolLibrary(const std::string& library, const char* name) {
    return reinterpret_cast<Function*>(functionOfToolLibrary(library, name));
}

}  // namespace robaxi_tool

#endif
