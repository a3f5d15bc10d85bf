#ifndef RECORDING_OUTPUT_FILE_H
#define RECORDING_OUTPUT_FILE_H

#include <base/file_descriptor.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace recording {

/** A file that grows by whole pieces, for recordings and what is made of them. For one thread at a
 * time. */
class OutputFile {
  public:
    /** Creates the file. Throws WriteError if it exists, unless `overwrites`, or cannot be written.
     */
    OutputFile(const std::string& path, bool overwrites);

    /** Hands bytes to the kernel. If that fails, the file is cut off where they began and
     *  WriteError is thrown. */
    void append(std::string_view bytes) { append({bytes}); }
    /** Hands pieces that belong together to the kernel: all of them, or none. */
    void append(std::initializer_list<std::string_view> pieces);

    /** Cuts the file off, at a size it had earlier. */
    void cutOff(std::uint64_t size, std::uint32_t crc);

    /** Throws WriteError if the kernel reports an error of earlier writes. */
    void close();

    std::uint64_t size() const { return fSize; }
    /** The checksum of the whole file. */
    std::uint32_t crc() const { return fCrc; }

  private:
    [[noreturn]] void xFail(int error) const;

    const std::string fPath;
    base::FileDescriptor fFile;
    std::uint64_t fSize = 0;
    std::uint32_t fCrc = 0;
};

}  // namespace recording

#endif
