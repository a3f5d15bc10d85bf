#ifndef OBVISTA_TESTS_SUPPORT_PROJECT_FILES_H
#define OBVISTA_TESTS_SUPPORT_PROJECT_FILES_H

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace obvista_test {

// Paths are found when a program runs: compiled in, they would make its objects depend on the
// folder of the clone, and ccache could not use them for another one.

/**
 * Returns the path of a file in the build folder of the running test or benchmark.
 *
 * @param path seen from the build folder, for instance "bin/robaxi-robot"
 */
inline std::string builtFile(const std::string& path) {
    // Tests are in its tests/, benchmarks in its bench/.
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    return program.parent_path().parent_path() / path;
}

/**
 * Returns the path of a source file.
 *
 * @param path seen from the top folder of the sources
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
