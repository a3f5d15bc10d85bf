#include "crc32.h"

#include <zlib.h>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace recording {

namespace {

std::uint32_t crc32OfZlib(std::string_view bytes, std::uint32_t before) {
    return static_cast<std::uint32_t>(
        crc32_z(before, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

#if defined(__x86_64__)

constexpr std::size_t a_vector = 16;  ///< bytes
constexpr std::size_t a_block = 4 * a_vector;

#define RECORDING_CARRY_LESS __attribute__((target("sse4.1,pclmul")))

RECORDING_CARRY_LESS __m128i load(const char* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

/** Moves a remainder forward by the distance that the factors stand for, and adds what is there. */
RECORDING_CARRY_LESS __m128i folded(__m128i remainder, __m128i factors, __m128i next) {
    const __m128i low = _mm_clmulepi64_si128(remainder, factors, 0x00);
    const __m128i high = _mm_clmulepi64_si128(remainder, factors, 0x11);
    return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

/**
 * The checksum of a multiple of 16 bytes, at least 64, by folding with carry-less multiplication
 * (V. Gopal and others, "Fast CRC Computation for Generic Polynomials Using PCLMULQDQ", Intel,
 * 2009). The factors are powers of x modulo the reflected polynomial.
 */
RECORDING_CARRY_LESS std::uint32_t crc32ByFolding(std::string_view bytes, std::uint32_t before) {
    const __m128i by512 = _mm_set_epi64x(0x1c6e41596, 0x154442bd4);
    const __m128i by128 = _mm_set_epi64x(0x0ccaa009e, 0x1751997d0);
    const __m128i by64 = _mm_set_epi64x(0, 0x163cd6124);
    const __m128i polynomial = _mm_set_epi64x(0x1f7011641, 0x1db710641);
    const __m128i lowHalves = _mm_setr_epi32(-1, 0, -1, 0);

    __m128i first = load(bytes.data());
    __m128i second = load(bytes.data() + a_vector);
    __m128i third = load(bytes.data() + 2 * a_vector);
    __m128i fourth = load(bytes.data() + 3 * a_vector);
    first = _mm_xor_si128(first, _mm_cvtsi32_si128(static_cast<int>(~before)));
    bytes.remove_prefix(a_block);
    for (; bytes.size() >= a_block; bytes.remove_prefix(a_block)) {
        first = folded(first, by512, load(bytes.data()));
        second = folded(second, by512, load(bytes.data() + a_vector));
        third = folded(third, by512, load(bytes.data() + 2 * a_vector));
        fourth = folded(fourth, by512, load(bytes.data() + 3 * a_vector));
    }
    __m128i all = folded(first, by128, second);
    all = folded(all, by128, third);
    all = folded(all, by128, fourth);
    for (; !bytes.empty(); bytes.remove_prefix(a_vector)) {
        all = folded(all, by128, load(bytes.data()));
    }
    // From 128 bits to 64.
    all = _mm_xor_si128(_mm_srli_si128(all, 8), _mm_clmulepi64_si128(all, by128, 0x10));
    all = _mm_xor_si128(_mm_srli_si128(all, 4),
                        _mm_clmulepi64_si128(_mm_and_si128(all, lowHalves), by64, 0x00));
    // From 64 bits to 32, by Barrett's reduction.
    __m128i quotient = _mm_clmulepi64_si128(_mm_and_si128(all, lowHalves), polynomial, 0x10);
    quotient = _mm_clmulepi64_si128(_mm_and_si128(quotient, lowHalves), polynomial, 0x00);
    return ~static_cast<std::uint32_t>(_mm_extract_epi32(_mm_xor_si128(all, quotient), 1));
}

#undef RECORDING_CARRY_LESS

bool canFold() {
    static const bool can =
        __builtin_cpu_supports("pclmul") != 0 && __builtin_cpu_supports("sse4.1") != 0;
    return can;
}

#endif

}  // namespace

std::uint32_t crc32Of(std::string_view bytes, std::uint32_t before) {
#if defined(__x86_64__)
    if (bytes.size() >= a_block && canFold()) {
        const std::size_t size = bytes.size() - bytes.size() % a_vector;
        before = crc32ByFolding(bytes.substr(0, size), before);
        bytes.remove_prefix(size);
    }
#endif
    return crc32OfZlib(bytes, before);
}

}  // namespace recording
