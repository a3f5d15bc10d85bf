#ifndef OBVISTA_TESTS_RECORDING_RECORDING_FILES_H
#define OBVISTA_TESTS_RECORDING_RECORDING_FILES_H

#include <cstdint>
#include <ostream>
#include <recording/reader.h>
#include <recording/writer.h>
#include <string>
#include <string_view>
#include <vector>

namespace recording_test {

/** A message that owns its data, with its channel's topic. */
struct Heard {
    std::string fTopic;
    std::uint32_t fSequence = 0;
    std::uint64_t fLogTime = 0;
    std::uint64_t fPublishTime = 0;
    std::string fData;

    bool operator==(const Heard& other) const;
};

std::ostream& operator<<(std::ostream& stream, const Heard& heard);

/** A path in the test's folder. */
std::string pathOf(const std::string& name);

std::string bytesOf(const std::string& path);
/** @return the path */
std::string writeBytes(const std::string& name, std::string_view bytes);

/** Reads all selected messages. */
std::vector<Heard> hear(recording::Reader& reader, const recording::Selection& selection = {});
std::vector<Heard> hear(const std::string& path,
                        recording::Access access = recording::Access::Indexed);

constexpr std::uint64_t a_start = 1'700'000'000'000'000'000;

/**
 * Writes messages of two channels, 10 ms apart, with a metadata record and an attachment.
 *
 * @return the messages
 */
std::vector<Heard> writeSample(const std::string& path, std::size_t messages,
                               recording::WriterOptions options = {});

/** Options for chunks of a few messages. */
recording::WriterOptions smallChunks();

/** The sentence of the RecordingError that something throws, or an empty text. */
template <class Operation>
std::string sentenceOf(Operation operation) {
    try {
        operation();
    } catch (const recording::RecordingError& error) {
        return error.what();
    }
    return {};
}

}  // namespace recording_test

#endif
