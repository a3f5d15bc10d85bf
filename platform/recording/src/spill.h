#ifndef RECORDING_SPILL_H
#define RECORDING_SPILL_H

#include <base/file_descriptor.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace recording {

/** Bytes that are collected for the end of a file: the first in memory, further ones in an unnamed
 *  file. For one thread at a time. Throws RecordingError. */
class Spill {
  public:
    /** @param path of the recording, in whose folder the file is created */
    explicit Spill(const std::string& path);

    void append(std::string_view bytes);
    std::uint64_t size() const { return fInFile + fInMemory.size(); }

    /** Calls `take` with all bytes, piece by piece. */
    void replay(const std::function<void(std::string_view)>& take) const;

  private:
    void xMoveToFile();

    std::string fFolder;
    base::FileDescriptor fFile{-1};
    std::uint64_t fInFile = 0;
    std::string fInMemory;
};

}  // namespace recording

#endif
