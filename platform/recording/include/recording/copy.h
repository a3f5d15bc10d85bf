#ifndef RECORDING_COPY_H
#define RECORDING_COPY_H

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <recording/reader.h>
#include <recording/writer.h>
#include <string>
#include <vector>

namespace recording {

/** A recording to copy from. */
struct Source {
    std::string fPath;  ///< for the sentences of errors
    std::unique_ptr<Reader> fReader;
};

/** The messages to copy. */
struct CopySelection {
    std::uint64_t fFrom = 0;                                        ///< log time, included
    std::uint64_t fTo = std::numeric_limits<std::uint64_t>::max();  ///< log time, included
    /** Returns true for the channels of a source to copy; all if empty. */
    std::function<bool(const Reader&, const Channel&)> fWants{};
};

struct CopyReport {
    std::uint64_t fMessages = 0;
    std::uint64_t fAttachments = 0;
    std::uint64_t fMetadata = 0;
};

/**
 * Writes messages of one or several recordings to another one, in the order of their log times.
 * Only the chunks that may have them are read.
 *
 * Equal channels, attachments and metadata of several recordings become one. The other attachments
 * and metadata are all copied, and channels without messages are left out.
 *
 * @throw RecordingError if the new file exists or cannot be written, and for a damaged source; the
 *        new file is removed then
 */
CopyReport copy(const std::vector<Source>& sources, const std::string& path,
                const CopySelection& selection = {}, const WriterOptions& options = {});

}  // namespace recording

#endif
