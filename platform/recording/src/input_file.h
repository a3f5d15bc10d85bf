#ifndef RECORDING_INPUT_FILE_H
#define RECORDING_INPUT_FILE_H

#include <base/file_descriptor.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace recording {

/** A file that is read in any order. For one thread at a time. Throws RecordingError. */
class InputFile {
  public:
    explicit InputFile(const std::string& path);

    /** The number of bytes when the file was opened. */
    std::uint64_t size() const { return fSize; }

    /** Reads exactly so many bytes, which must be within the file. */
    void read(std::uint64_t offset, char* bytes, std::size_t size) const;

    /** Bytes within the file, valid until the next call. Reads ahead, for neighbouring views. */
    std::string_view view(std::uint64_t offset, std::size_t size) const;

  private:
    base::FileDescriptor fFile;
    std::uint64_t fSize = 0;
    mutable std::vector<char> fWindow;
    mutable std::uint64_t fWindowStart = 0;
    mutable std::size_t fWindowSize = 0;
};

}  // namespace recording

#endif
