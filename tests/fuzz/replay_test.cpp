// The short form of every fuzz target, for builds without libFuzzer: runs its seeds, and a number
// of mutations that is the same in each run.
#include "fuzz_target.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t a_largestInput = std::size_t{64} * 1024;

std::string setting(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) {
        throw std::runtime_error(std::string(name) + " is not set; CTest sets it");
    }
    return value;
}

std::vector<Bytes> readSeeds() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(setting("OBVISTA_FUZZ_SEEDS"))) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    std::vector<Bytes> seeds;
    for (const auto& file : files) {
        std::ifstream stream(file, std::ios::binary);
        seeds.emplace_back(std::istreambuf_iterator<char>(stream),
                           std::istreambuf_iterator<char>());
    }
    return seeds;
}

void run(const Bytes& input) {
    // Exactly as large as the input, so that a read beyond its end is detected.
    const Bytes exact(input.begin(), input.end());
    EXPECT_EQ(LLVMFuzzerTestOneInput(exact.data(), exact.size()), 0);
}

/** Mutates inputs like a fuzzer, but without feedback. */
class Mutator {
  public:
    explicit Mutator(const std::vector<Bytes>& seeds) : fSeeds(seeds) {}

    Bytes next() {
        constexpr std::size_t mostSteps = 4;
        Bytes bytes = fSeeds[xBelow(fSeeds.size())];
        for (std::size_t step = 0; step <= xBelow(mostSteps); ++step) {
            xChange(bytes);
        }
        bytes.resize(std::min(bytes.size(), a_largestInput));
        return bytes;
    }

  private:
    std::size_t xBelow(std::size_t limit) { return limit == 0 ? 0 : fRandom() % limit; }

    std::uint8_t xByte() {
        constexpr std::uint8_t telling[] = {0x00, 0x01, 0x0A, 0x7F, 0x80, 0xFF};
        return xBelow(2) == 0 ? telling[xBelow(std::size(telling))]
                              : static_cast<std::uint8_t>(fRandom());
    }

    void xChange(Bytes& bytes) {
        constexpr std::size_t longestRun = 16;
        const auto position = bytes.begin() + static_cast<std::ptrdiff_t>(xBelow(bytes.size()));
        const auto rest = static_cast<std::size_t>(bytes.end() - position);
        const auto end = position + static_cast<std::ptrdiff_t>(xBelow(std::min(rest, longestRun)));
        switch (xBelow(6)) {
            case 0:
                std::for_each(position, bytes.end() == position ? position : position + 1,
                              [this](std::uint8_t& byte) { byte = xByte(); });
                break;
            case 1:
                std::for_each(position, end, [this](std::uint8_t& byte) { byte = xByte(); });
                break;
            case 2:
                bytes.insert(position, 1 + xBelow(longestRun), xByte());
                break;
            case 3:
                bytes.erase(position, end);
                break;
            case 4:
                bytes.erase(position, bytes.end());
                break;
            default:
                xSplice(bytes, static_cast<std::size_t>(position - bytes.begin()));
        }
    }

    /** Inserts a piece of any seed, including the same one. */
    void xSplice(Bytes& bytes, std::size_t position) {
        const Bytes& other = fSeeds[xBelow(fSeeds.size())];
        const auto from = other.begin() + static_cast<std::ptrdiff_t>(xBelow(other.size()));
        const auto rest = static_cast<std::size_t>(other.end() - from);
        bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(position), from,
                     from + static_cast<std::ptrdiff_t>(xBelow(rest + 1)));
    }

    const std::vector<Bytes>& fSeeds;
    std::mt19937 fRandom;
};

}  // namespace

TEST(Fuzz, TakesItsSeeds) {
    const std::vector<Bytes> seeds = readSeeds();
    ASSERT_FALSE(seeds.empty());
    for (const Bytes& seed : seeds) {
        run(seed);
    }
    run({});
}

TEST(Fuzz, TakesChangedSeeds) {
    const std::vector<Bytes> seeds = readSeeds();
    ASSERT_FALSE(seeds.empty());
    Mutator mutator(seeds);
    const int mutations = std::stoi(setting("OBVISTA_FUZZ_MUTATIONS"));
    for (int i = 0; i < mutations; ++i) {
        run(mutator.next());
    }
}
