#ifndef OBVISTA_TESTS_FUZZ_FUZZ_TARGET_H
#define OBVISTA_TESTS_FUZZ_FUZZ_TARGET_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/**
 * Passes bytes to one decoder. Each fuzz target defines it; libFuzzer fixes the name.
 *
 * @return 0
 */
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace obvista_fuzz {

/** Terminates the program if a condition that must hold for every input does not. */
inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

}  // namespace obvista_fuzz

#endif
