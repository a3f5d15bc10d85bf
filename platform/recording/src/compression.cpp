#include "compression.h"

#include <base/free_with.h>
#include <base/safe_text.h>

#include <cstring>
#include <lz4frame.h>
#include <new>
#include <zstd.h>

namespace recording {

namespace {

/** Up to this size a chunk may be compressed to any size: a black picture is. */
constexpr std::uint64_t a_freeSize = std::uint64_t{16} << 20U;
constexpr std::uint64_t a_largestRatio = 1000;

constexpr std::string_view a_none;
constexpr std::string_view a_zstd = "zstd";
constexpr std::string_view a_lz4 = "lz4";

template <class Context>
Context* checked(Context* context) {
    if (context == nullptr) {
        throw std::bad_alloc();
    }
    return context;
}

}  // namespace

char* Buffer::reserve(std::size_t size) {
    if (size > fCapacity || fBytes == nullptr) {
        fBytes.reset();
        fBytes.reset(new char[size]);
        fCapacity = size;
    }
    return fBytes.get();
}

bool isTooLarge(std::uint64_t uncompressed, std::uint64_t compressed) {
    return uncompressed > a_largestChunk ||
           (uncompressed > a_freeSize && (uncompressed - a_freeSize) / a_largestRatio > compressed);
}

std::string_view nameOf(Compression compression) {
    switch (compression) {
        case Compression::Zstd:
            return a_zstd;
        case Compression::Lz4:
            return a_lz4;
        case Compression::None:
            break;
    }
    return a_none;
}

bool isKnownCompression(std::string_view name) {
    return name == a_none || name == a_zstd || name == a_lz4;
}

std::string shownCompression(std::string_view name) {
    constexpr std::size_t longest = 40;
    return base::oneLine(base::shortened(name, longest));
}

struct Compressor::Contexts {
    std::unique_ptr<ZSTD_CCtx, base::FreeWith<ZSTD_freeCCtx>> fZstd{checked(ZSTD_createCCtx())};
    int fLevel = 1;
};

Compressor::Compressor(Compression compression, int level)
    : fCompression(compression), fContexts(std::make_unique<Contexts>()) {
    fContexts->fLevel = level;
}

Compressor::~Compressor() = default;

Compressor::Result Compressor::compress(std::string_view data) {
    // A buffer of one large message would remain for good.
    constexpr std::size_t usual = std::size_t{4} << 20U;
    if (fBuffer.capacity() > usual && data.size() < usual / 2) {
        fBuffer = {};
    }
    std::size_t size = 0;
    bool isCompressed = false;
    if (fCompression == Compression::Zstd) {
        const std::size_t bound = ZSTD_compressBound(data.size());
        size = ZSTD_compressCCtx(fContexts->fZstd.get(), fBuffer.reserve(bound), bound, data.data(),
                                 data.size(), fContexts->fLevel);
        isCompressed = ZSTD_isError(size) == 0;
    } else if (fCompression == Compression::Lz4) {
        const std::size_t bound = LZ4F_compressFrameBound(data.size(), nullptr);
        size = LZ4F_compressFrame(fBuffer.reserve(bound), bound, data.data(), data.size(), nullptr);
        isCompressed = LZ4F_isError(size) == 0;
    }
    if (!isCompressed || isTooLarge(data.size(), size)) {
        return {Compression::None, data};
    }
    return {fCompression, fBuffer.bytes(size)};
}

struct Decompressor::Contexts {
    std::unique_ptr<ZSTD_DCtx, base::FreeWith<ZSTD_freeDCtx>> fZstd;
    std::unique_ptr<LZ4F_dctx, base::FreeWith<LZ4F_freeDecompressionContext>> fLz4;
};

Decompressor::Decompressor() : fContexts(std::make_unique<Contexts>()) {
}

Decompressor::~Decompressor() = default;

std::string Decompressor::decompress(std::string_view compression, std::string_view data,
                                     char* bytes, std::size_t size) {
    const char* const damaged = "has damaged compressed data";
    if (compression == a_none) {
        if (data.size() != size) {
            return "has another size than it claims";
        }
        if (size > 0) {
            std::memcpy(bytes, data.data(), size);
        }
        return {};
    }
    if (data.empty() && size == 0) {
        return {};
    }
    if (compression == a_zstd) {
        if (fContexts->fZstd == nullptr) {
            fContexts->fZstd.reset(checked(ZSTD_createDCtx()));
        }
        const std::size_t result =
            ZSTD_decompressDCtx(fContexts->fZstd.get(), bytes, size, data.data(), data.size());
        return ZSTD_isError(result) != 0 || result != size ? damaged : "";
    }
    if (compression == a_lz4) {
        LZ4F_dctx* context = nullptr;
        if (LZ4F_isError(LZ4F_createDecompressionContext(&context, LZ4F_VERSION)) != 0) {
            throw std::bad_alloc();
        }
        fContexts->fLz4.reset(context);
        std::size_t written = 0;
        std::size_t expected = 1;
        while (expected != 0 && !data.empty()) {
            std::size_t out = size - written;
            std::size_t in = data.size();
            expected = LZ4F_decompress(context, bytes + written, &out, data.data(), &in, nullptr);
            if (LZ4F_isError(expected) != 0 || (in == 0 && out == 0)) {
                return damaged;
            }
            written += out;
            data.remove_prefix(in);
        }
        return expected != 0 || written != size ? damaged : "";
    }
    return "is compressed with \"" + shownCompression(compression) + "\", which is not supported";
}

}  // namespace recording
