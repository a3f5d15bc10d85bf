#ifndef OBVISTA_TESTS_SUPPORT_PROJECT_FILES_H
#define OBVISTA_TESTS_SUPPORT_PROJECT_FILES_H

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace obvista_test {

// Paths are determined at run time: compiled in, they would make the objects depend on the folder
// of the clone, and clones could not share ccache's entries.

/**
 * Returns the path of a file in the build folder of the running test or benchmark.
 *
 * @param path relative to the build folder, for instance "bin/robaxi-robot"
 */
inline std::string builtFile(const std::string& path) {
    // Tests are below tests/ of the build folder, benchmarks below bench/.
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    return program.parent_path().parent_path() / path;
}

/**
 * Returns the path of a source file.
 *
 * @param path relative to the top folder of the sources
 * @throws std::runtime_error outside CTest, which sets the variable OBVISTA_SOURCE_DIR
 */
inline std::string sourceFile(const std::string& path) {
    const char* const folder = std::getenv("OBVISTA_SOURCE_DIR");
    if (folder == nullptr) {
        throw std::runtime_error("OBVISTA_SOURCE_DIR is not set");
    }
    return std::filesystem::path(folder) / path;
}

}  // namespace obvista_test

#endif
