// A sparse file with the indexes of very many chunks: opening must not read the data.
#include "large_file.h"

#include "recording_files.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <iostream>

namespace recording_test {
namespace {

using Clock = std::chrono::steady_clock;
using recording::Reader;

template <class Operation>
double millisecondsOf(Operation operation) {
    const Clock::time_point start = Clock::now();
    operation();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

TEST(LargeFile, OpensAndSeeksThroughItsIndexes) {
    std::vector<std::uint64_t> chunks;
    for (std::uint64_t i = 0; i < 100; ++i) {
        chunks.push_back(i * 2499);
    }
    const std::string path = writeLargeFile(chunks);
    ASSERT_GT(std::filesystem::file_size(path), std::uint64_t{16'000'000'000});
    std::unique_ptr<Reader> reader;
    const double open = millisecondsOf([&] { reader = std::make_unique<Reader>(path); });
    EXPECT_TRUE(reader->isIndexed());
    EXPECT_EQ(a_largeFileChunks, reader->statistics().fChunkCount);
    const auto seek = [&](std::uint64_t time) {
        recording::Selection selection;
        selection.fFrom = time;
        selection.fTo = time;
        selection.fChannels = {1};
        const std::vector<Heard> heard = hear(*reader, selection);
        ASSERT_EQ(1U, heard.size());
        EXPECT_EQ(time, heard.front().fLogTime);
    };
    const double first = millisecondsOf([&] { seek(chunks.back()); });
    const double next = millisecondsOf([&] {
        for (const std::uint64_t chunk : chunks) {
            seek(chunk);
        }
    });
    std::cout << "open " << open << " ms, first seek " << first << " ms, one of the next "
              << next / static_cast<double>(chunks.size()) << " ms\n";
    // 0.2 ms, 20 ms and 0.02 ms on the machine that this was written on; the limits hold on a busy
    // one with sanitizers, and fail if the data or the whole index is read each time.
    EXPECT_LT(open, 100);
    EXPECT_LT(first, 2000);
    EXPECT_LT(next / static_cast<double>(chunks.size()), 20);
}

}  // namespace
}  // namespace recording_test
