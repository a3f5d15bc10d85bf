#ifndef OBVISTA_TESTS_FUZZ_TEMPORARY_FILE_H
#define OBVISTA_TESTS_FUZZ_TEMPORARY_FILE_H

#include "fuzz_target.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace obvista_fuzz {

/** A file readable only by its owner, removed with this object. */
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::string& content)
        : fPath((std::filesystem::temp_directory_path() / "fuzz-XXXXXX").string()) {
        const int descriptor = ::mkstemp(fPath.data());
        require(descriptor >= 0, "a file can be made");
        ::close(descriptor);
        std::ofstream(fPath) << content;
    }
    ~TemporaryFile() { ::unlink(fPath.c_str()); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string& path() const { return fPath; }

  private:
    std::string fPath;
};

}  // namespace obvista_fuzz

#endif
