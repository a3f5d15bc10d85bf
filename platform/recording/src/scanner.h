#ifndef RECORDING_SCANNER_H
#define RECORDING_SCANNER_H

#include "fields.h"
#include "input_file.h"

#include <cstdint>
#include <optional>

namespace recording {

/** A record of a file that is not inside a chunk. */
struct OuterRecord {
    Opcode fOpcode{};
    std::uint64_t fOffset = 0;  ///< of its prefix
    std::uint64_t fLength = 0;  ///< with its prefix

    std::uint64_t contentOffset() const { return fOffset + a_prefixSize; }
    std::uint64_t contentSize() const { return fLength - a_prefixSize; }
};

/** Returns the fields of a record, valid until the next view of the file. Throws RecordingError if
 *  it is larger than `most`. */
FieldReader fieldsOf(const InputFile& file, const OuterRecord& record,
                     std::uint64_t most = a_largestDefinition);

/** Finds the records of a part of a file by their lengths. */
class Scanner {
  public:
    /** @param end within the file */
    Scanner(const InputFile& file, std::uint64_t start, std::uint64_t end)
        : fFile(file), fPosition(start), fEnd(end) {}

    /** Returns the next record, or nothing at the end. Throws RecordingError if it is not whole. */
    std::optional<OuterRecord> next();

    std::uint64_t position() const { return fPosition; }
    void seek(std::uint64_t position) { fPosition = position; }

  private:
    const InputFile& fFile;
    std::uint64_t fPosition;
    const std::uint64_t fEnd;
};

/** The end of a finished file. */
struct Footer {
    std::uint64_t fOffset = 0;
    std::uint64_t fSummaryStart = 0;  ///< 0 without summary
    std::uint64_t fSummaryEnd = 0;    ///< the beginning of the summary offsets or of the footer
    std::uint64_t fOffsetsStart = 0;  ///< 0 without summary offsets
    std::uint32_t fSummaryCrc = 0;
};

/** Throws RecordingError if the file has no footer at its end, or one that points elsewhere. */
Footer readFooter(const InputFile& file);

}  // namespace recording

#endif
