#ifndef RECORDING_SUMMARY_WRITER_H
#define RECORDING_SUMMARY_WRITER_H

#include "spill.h"

#include <recording/output_file.h>
#include <recording/records.h>
#include <string>
#include <vector>

namespace recording {

/** The contents of a file's end. */
struct Summary {
    std::string fLeftDefinitions;  ///< records of schemas and channels that are not in the data yet
    const std::vector<Schema>& fSchemas;
    const std::vector<Channel>& fChannels;
    const Statistics& fStatistics;
    const Spill& fChunkIndexes;
    const Spill& fAttachmentIndexes;
    const Spill& fMetadataIndexes;
};

/** Writes everything from the end of the data on. If that fails, the file is cut off at its present
 *  size and RecordingError is thrown. */
void writeSummary(OutputFile& file, const Summary& summary);

}  // namespace recording

#endif
