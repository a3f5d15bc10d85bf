// A recording: what somebody else wrote into a file.
//
// The input is the file. It is read through its indexes and record by record, checked and, if it is
// a recording at all, repaired and merged with itself. The new files have its messages, and the
// repaired one has no faults.
#include "fuzz_target.h"
#include "temporary_file.h"

#include <recording/check.h>
#include <recording/copy.h>
#include <recording/reader.h>
#include <recording/repair.h>
#include <string>
#include <unistd.h>

namespace {

using obvista_fuzz::require;
using obvista_fuzz::TemporaryFile;
using recording::Access;
using recording::Message;
using recording::Reader;
using recording::RecordingError;

/** Reads every message; times must not go backwards in their order. */
std::uint64_t readAll(Reader& reader) {
    std::uint64_t count = 0;
    std::uint64_t before = 0;
    recording::Messages messages = reader.messages();
    while (const std::optional<Message> message = messages.next()) {
        require(message->fLogTime >= before, "messages come in the order of their times");
        require(reader.channels().count(message->fChannelId) == 1, "a message has a channel");
        before = message->fLogTime;
        // Each byte has to be there.
        volatile unsigned sum = 0;
        for (const char byte : message->fData) {
            sum = sum + static_cast<unsigned char>(byte);
        }
        ++count;
    }
    return count;
}

void readIndexed(const std::string& path) {
    try {
        Reader reader(path);
        for (const auto& index : reader.attachments()) {
            reader.readAttachment(index);
        }
        for (const auto& index : reader.metadata()) {
            reader.readMetadata(index);
        }
        readAll(reader);
    } catch (const RecordingError&) {
        // Refused.
    }
}

/** Merges a file with itself: each message comes twice, or the file is refused. */
void merge(const std::string& path, std::uint64_t messages) {
    const std::string merged = path + ".merged";
    try {
        std::vector<recording::Source> sources;
        for (int i = 0; i < 2; ++i) {
            sources.push_back({path, std::make_unique<Reader>(path, Access::Sequential)});
        }
        const recording::CopyReport report = recording::copy(sources, merged);
        require(report.fMessages == 2 * messages, "a copy has all messages");
        ::unlink(merged.c_str());
    } catch (const RecordingError&) {
        require(::access(merged.c_str(), F_OK) != 0, "a copy that fails leaves no file");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const TemporaryFile file(std::string(reinterpret_cast<const char*>(data), size));
    readIndexed(file.path());
    std::uint64_t messages = 0;
    try {
        Reader reader(file.path(), Access::Sequential);
        messages = readAll(reader);
        require(messages == reader.statistics().fMessageCount, "all messages found are read");
        recording::check(file.path());
    } catch (const RecordingError&) {
        return 0;
    }
    const std::string repaired = file.path() + ".repaired";
    recording::repair(file.path(), repaired);
    const recording::CheckReport report = recording::check(repaired);
    ::unlink(repaired.c_str());
    require(report.fFaultCount == 0, "a repaired file has no faults");
    merge(file.path(), messages);
    require(report.fMessages == messages, "a repaired file has all messages that can be read");
    return 0;
}
