// Measures how fast messages are recorded, compared with writing the same bytes with write(2) and
// with compressing them with zstd on one thread, in pieces of a chunk's size. The bytes are those
// that a chunk contains: each message is a record with 31 bytes of numbers and times before its
// data. The floor of a compressed recording is the slower of compressing and of writing the
// compressed bytes. Two threads of the writer compress: with fewer than three free processors
// compare the processor time.
//
//   recording_write_bench [MEGABYTES [FOLDER]]
//
// The messages are 60 bytes of JSON on 1000 channels, or JPEG-like pictures of 100 kB; MEGABYTES of
// them. The figures are megabytes of records in a second.
#include "bench/figures.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <random>
#include <recording/writer.h>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>
#include <zstd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr double a_megabyte = 1e6;
constexpr std::size_t a_chunk = std::size_t{1} << 20U;
constexpr std::uint16_t a_channels = 1000;

struct Figure {
    double fSeconds = 0;
    double fProcessorSeconds = 0;
};

Figure measure(const std::function<void()>& work) {
    const Clock::time_point start = Clock::now();
    const double processor = bench::processorSeconds(getpid());
    work();
    return {std::chrono::duration<double>(Clock::now() - start).count(),
            bench::processorSeconds(getpid()) - processor};
}

std::vector<std::string> numbers(std::size_t bytes) {
    std::vector<std::string> messages;
    std::mt19937 random(1);
    for (std::size_t size = 0; size < bytes; size += messages.back().size()) {
        std::array<char, 100> text{};
        std::snprintf(text.data(), text.size(), R"({"value":%.9f,"time":%zu,"quality":"good"})",
                      static_cast<double>(random()) / 4e9, 1'700'000'000'000'000 + messages.size());
        messages.emplace_back(text.data());
    }
    return messages;
}

/** Pictures that cannot be compressed further. */
std::vector<std::string> pictures(std::size_t bytes) {
    constexpr std::size_t picture = 100'000;
    std::vector<std::string> messages;
    std::mt19937 random(1);
    for (std::size_t size = 0; size < bytes; size += picture) {
        std::string data(picture, '\0');
        std::generate(data.begin(), data.end(), [&] { return static_cast<char>(random()); });
        messages.push_back(std::move(data));
    }
    return messages;
}

/** The bytes of messages as they are in a chunk. */
std::string recordsOf(const std::vector<std::string>& messages) {
    const auto put = [](std::string& bytes, std::uint64_t number, int size) {
        for (int i = 0; i < size; ++i) {
            bytes += static_cast<char>(number >> (8 * i));
        }
    };
    std::string all;
    std::uint64_t sequence = 0;
    for (const std::string& message : messages) {
        constexpr std::uint64_t fixedFields = 22;
        put(all, 5, 1);
        put(all, fixedFields + message.size(), 8);
        put(all, sequence % a_channels, 2);
        put(all, sequence, 4);
        put(all, sequence, 8);
        put(all, sequence, 8);
        all += message;
        ++sequence;
    }
    return all;
}

void writePlainly(const std::string& path, std::string_view bytes) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    for (std::size_t offset = 0; offset < bytes.size(); offset += a_chunk) {
        if (::write(file, bytes.data() + offset, std::min(a_chunk, bytes.size() - offset)) <= 0) {
            std::perror("write");
            std::exit(EXIT_FAILURE);
        }
    }
    ::close(file);
}

/** Returns the size in `compressed`, which has room. */
std::size_t compress(const std::string& bytes, std::string& compressed) {
    std::size_t size = 0;
    ZSTD_CCtx* context = ZSTD_createCCtx();
    for (std::size_t offset = 0; offset < bytes.size(); offset += a_chunk) {
        size +=
            ZSTD_compressCCtx(context, compressed.data() + size, compressed.size() - size,
                              bytes.data() + offset, std::min(a_chunk, bytes.size() - offset), 1);
    }
    ZSTD_freeCCtx(context);
    return size;
}

void record(const std::string& path, const std::vector<std::string>& messages,
            recording::Compression compression) {
    recording::WriterOptions options;
    options.fCompression = compression;
    options.fOverwrites = true;
    recording::Writer writer(path, options);
    for (std::uint16_t i = 0; i < a_channels; ++i) {
        writer.addChannel(0, "/robot1/memory/Key" + std::to_string(i), "json");
    }
    std::uint32_t sequence = 0;
    for (const std::string& message : messages) {
        writer.write({static_cast<std::uint16_t>(sequence % a_channels), sequence, sequence,
                      sequence, message});
        ++sequence;
    }
    writer.finish();
}

/** Prints a figure and, with a floor, its share of the floor's speed. */
void print(const char* name, const Figure& figure, double megabytes,
           const Figure* floor = nullptr) {
    std::printf("  %-28s %6.0f MB/s, %5.2f ns of processor time a byte", name,
                megabytes / figure.fSeconds, figure.fProcessorSeconds * 1e3 / megabytes);
    if (floor != nullptr) {
        std::printf(", %3.0f %% of the floor", 100 * floor->fSeconds / figure.fSeconds);
    }
    std::printf("\n");
}

void compare(const char* title, const std::vector<std::string>& messages, const std::string& path) {
    const std::string records = recordsOf(messages);
    const double megabytes = static_cast<double>(records.size()) / a_megabyte;
    std::printf("%s: %zu messages, %.0f MB in records\n", title, messages.size(), megabytes);
    using recording::Compression;
    const Figure written = measure([&] { writePlainly(path, records); });
    print("write(2)", written, megabytes);
    // Cutting off a file of an earlier measurement takes time.
    std::filesystem::remove(path);
    print("recording, not compressed", measure([&] { record(path, messages, Compression::None); }),
          megabytes, &written);
    std::filesystem::remove(path);
    std::string output((records.size() / a_chunk + 1) * ZSTD_compressBound(a_chunk), '\0');
    std::size_t size = 0;
    const Figure compressed = measure([&] { size = compress(records, output); });
    print("zstd", compressed, megabytes);
    const Figure rest = measure([&] { writePlainly(path, {output.data(), size}); });
    print("write(2) of zstd's bytes", rest, megabytes);
    std::filesystem::remove(path);
    const Figure& floor = compressed.fSeconds > rest.fSeconds ? compressed : rest;
    print("recording, zstd", measure([&] { record(path, messages, Compression::Zstd); }), megabytes,
          &floor);
    std::filesystem::remove(path);
}

}  // namespace

int main(int argc, char** argv) {
    constexpr std::size_t usual = 200;
    const std::size_t megabytes = argc > 1 ? static_cast<std::size_t>(std::atoi(argv[1])) : usual;
    const std::string folder = argc > 2 ? argv[2] : std::filesystem::temp_directory_path().string();
    const std::string path = folder + "/recording_write_bench.mcap";
    const auto bytes = megabytes * static_cast<std::size_t>(a_megabyte);
    compare("Numbers", numbers(bytes), path);
    compare("Pictures", pictures(bytes), path);
    return EXIT_SUCCESS;
}
