#ifndef OBVISTA_TESTS_FUZZ_FUZZ_TARGET_H
#define OBVISTA_TESTS_FUZZ_FUZZ_TARGET_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/**
 * Gives one decoder some bytes. Each fuzz target defines it; the name is the one that libFuzzer
 * calls.
 *
 * @return 0
 */
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace obvista_fuzz {

/** Ends the program when what has to hold for every input does not. */
inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

}  // namespace obvista_fuzz

#endif
