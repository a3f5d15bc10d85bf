#include "ros2/raw_type.h"

#include <algorithm>
#include <cstring>
#include <dds/ddsi/ddsi_serdata.h>
#include <dds/ddsi/ddsi_sertype.h>
#include <dds/ddsi/q_radmin.h>
#include <new>
#include <utility>

namespace bridge {

namespace {

using ros2_message::Bytes;

// The objects of the library begin with its part, which must be at their address.
struct Type {
    ddsi_sertype fCommon;
    std::shared_ptr<Arrivals> fArrivals;
};

struct Sample {
    ddsi_serdata fCommon;
    std::vector<unsigned char> fBytes;
};

// Encapsulation of an empty message: CDR, little-endian.
constexpr unsigned char a_encapsulation[] = {0, 1, 0, 0};

const Type* typeOf(const ddsi_sertype* type) {
    return reinterpret_cast<const Type*>(type);
}

const Sample* sampleOf(const ddsi_serdata* data) {
    return reinterpret_cast<const Sample*>(data);
}

extern const ddsi_serdata_ops a_sampleOperations;

// ---- Samples. Called on threads of Cyclone DDS, several at once.

Sample* makeSample(const ddsi_sertype* type, ddsi_serdata_kind kind) {
    auto* const sample = new (std::nothrow) Sample{};
    if (sample != nullptr) {
        ddsi_serdata_init(&sample->fCommon, type, kind);
        sample->fCommon.hash = type->serdata_basehash;
    }
    return sample;
}

/** Counts a sample, and takes memory for its bytes unless there are too many. Returns false then,
 *  and if there is no memory. */
bool admit(const ddsi_sertype* type, Sample& sample, std::size_t size) {
    Arrivals& arrivals = *typeOf(type)->fArrivals;
    arrivals.fSamples.fetch_add(1, std::memory_order_relaxed);
    arrivals.fBytes.fetch_add(size, std::memory_order_relaxed);
    const std::size_t largest = arrivals.fLargest.load(std::memory_order_relaxed);
    if (size > largest) {
        if (largest != 0) {
            arrivals.fTooLarge.fetch_add(1, std::memory_order_relaxed);
        }
        return false;
    }
    try {
        sample.fBytes.resize(size);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

// A sample that is not kept is not refused: that would write a line into the log for each.
ddsi_serdata* fromNetwork(const ddsi_sertype* type, ddsi_serdata_kind kind,
                          const nn_rdata* fragments, std::size_t size) {
    Sample* const sample = makeSample(type, kind);
    if (sample == nullptr || !admit(type, *sample, size)) {
        return sample == nullptr ? nullptr : &sample->fCommon;
    }
    // Fragments are in order and may overlap.
    std::size_t filled = 0;
    for (; fragments != nullptr && filled < size; fragments = fragments->nextfrag) {
        const std::size_t end = std::min<std::size_t>(fragments->maxp1, size);
        if (end <= filled || fragments->min > filled) {
            continue;
        }
        const auto* const payload =
            NN_RMSG_PAYLOADOFF(fragments->rmsg, NN_RDATA_PAYLOAD_OFF(fragments));
        std::memcpy(sample->fBytes.data() + filled, payload + (filled - fragments->min),
                    end - filled);
        filled = end;
    }
    sample->fBytes.resize(filled);
    return &sample->fCommon;
}

ddsi_serdata* fromBlocks(const ddsi_sertype* type, ddsi_serdata_kind kind, ddsrt_msg_iovlen_t count,
                         const ddsrt_iovec_t* blocks, std::size_t size) {
    Sample* const sample = makeSample(type, kind);
    if (sample == nullptr || !admit(type, *sample, size)) {
        return sample == nullptr ? nullptr : &sample->fCommon;
    }
    std::size_t filled = 0;
    for (ddsrt_msg_iovlen_t i = 0; i < count && filled < size; ++i) {
        const std::size_t part = std::min<std::size_t>(blocks[i].iov_len, size - filled);
        std::memcpy(sample->fBytes.data() + filled, blocks[i].iov_base, part);
        filled += part;
    }
    sample->fBytes.resize(filled);
    return &sample->fCommon;
}

/** @param source a vector of bytes, from writeRaw() */
ddsi_serdata* fromBytes(const ddsi_sertype* type, ddsi_serdata_kind kind, const void* source) {
    Sample* const sample = makeSample(type, kind);
    if (sample != nullptr && kind == SDK_DATA) {
        sample->fBytes = *static_cast<const std::vector<unsigned char>*>(source);
    }
    return sample == nullptr ? nullptr : &sample->fCommon;
}

ddsi_serdata* fromKeyHash(const ddsi_sertype* type, const ddsi_keyhash* /*hash*/) {
    Sample* const sample = makeSample(type, SDK_KEY);
    return sample == nullptr ? nullptr : &sample->fCommon;
}

void copyTo(const ddsi_serdata* data, std::size_t offset, std::size_t size, void* target) {
    const std::vector<unsigned char>& bytes = sampleOf(data)->fBytes;
    const std::size_t available = offset < bytes.size() ? bytes.size() - offset : 0;
    const std::size_t copied = std::min(size, available);
    if (copied != 0) {
        std::memcpy(target, bytes.data() + offset, copied);
    }
    std::memset(static_cast<unsigned char*>(target) + copied, 0, size - copied);
}

ddsi_serdata* refer(const ddsi_serdata* data, std::size_t offset, std::size_t size,
                    ddsrt_iovec_t* reference) {
    // Sizes are asked for in multiples of four; the bytes are padded when they are made.
    const std::vector<unsigned char>& bytes = sampleOf(data)->fBytes;
    reference->iov_base = const_cast<unsigned char*>(bytes.data() + offset);
    reference->iov_len = static_cast<ddsrt_iov_len_t>(size);
    return ddsi_serdata_ref(data);
}

void unrefer(ddsi_serdata* data, const ddsrt_iovec_t* /*reference*/) {
    ddsi_serdata_unref(data);
}

void freeSample(ddsi_serdata* data) {
    delete reinterpret_cast<Sample*>(data);
}

const ddsi_serdata_ops a_sampleOperations = [] {
    ddsi_serdata_ops operations{};
    operations.eqkey = [](const ddsi_serdata*, const ddsi_serdata*) { return true; };
    operations.get_size = [](const ddsi_serdata* data) {
        return static_cast<std::uint32_t>(sampleOf(data)->fBytes.size());
    };
    operations.from_ser = fromNetwork;
    operations.from_ser_iov = fromBlocks;
    operations.from_keyhash = fromKeyHash;
    operations.from_sample = fromBytes;
    operations.to_ser = copyTo;
    operations.to_ser_ref = refer;
    operations.to_ser_unref = unrefer;
    operations.to_sample = [](const ddsi_serdata*, void*, void**, void*) { return false; };
    operations.to_untyped = [](const ddsi_serdata* data) {
        Sample* const key = makeSample(data->type, SDK_KEY);
        return key == nullptr ? nullptr : &key->fCommon;
    };
    operations.untyped_to_sample = [](const ddsi_sertype*, const ddsi_serdata*, void*, void**,
                                      void*) { return false; };
    operations.free = freeSample;
    operations.print = [](const ddsi_sertype*, const ddsi_serdata*, char* text, std::size_t size) {
        return size == 0 ? 0 : (*text = '\0', std::size_t{0});
    };
    operations.get_keyhash = [](const ddsi_serdata*, ddsi_keyhash* hash, bool) {
        std::memset(hash->value, 0, sizeof(hash->value));
    };
    return operations;
}();

// ---- The type.

void freeType(ddsi_sertype* type) {
    ddsi_sertype_fini(type);
    delete reinterpret_cast<Type*>(type);
}

const ddsi_sertype_ops a_typeOperations = [] {
    ddsi_sertype_ops operations{};
    operations.version = ddsi_sertype_v0;
    operations.free = freeType;
    operations.zero_samples = [](const ddsi_sertype*, void*, std::size_t) {};
    operations.realloc_samples = [](void** samples, const ddsi_sertype*, void*, std::size_t,
                                    std::size_t count) { std::fill_n(samples, count, nullptr); };
    operations.free_samples = [](const ddsi_sertype*, void**, std::size_t, dds_free_op_t) {};
    // Each topic counts for itself, so no two types are the same.
    operations.equal = [](const ddsi_sertype* one, const ddsi_sertype* other) {
        return typeOf(one)->fArrivals == typeOf(other)->fArrivals;
    };
    operations.hash = [](const ddsi_sertype* type) {
        return static_cast<std::uint32_t>(std::hash<const void*>()(typeOf(type)->fArrivals.get()));
    };
    return operations;
}();

}  // namespace

RawSample::~RawSample() {
    ddsi_serdata_unref(fData);
}

Bytes RawSample::bytes() const {
    const std::vector<unsigned char>& bytes = sampleOf(fData)->fBytes;
    return {bytes.data(), bytes.size()};
}

RawTopic createRawTopic(dds_entity_t participant, const std::string& topic, const std::string& type,
                        std::shared_ptr<Arrivals> arrivals) {
    auto* const raw = new Type{{}, std::move(arrivals)};
    ddsi_sertype_init(&raw->fCommon, type.c_str(), &a_typeOperations, &a_sampleOperations, true);
    raw->fCommon.allowed_data_representation =
        DDS_DATA_REPRESENTATION_FLAG_XCDR1 | DDS_DATA_REPRESENTATION_FLAG_XCDR2;
    ddsi_sertype* common = &raw->fCommon;
    const dds_entity_t entity =
        dds_create_topic_sertype(participant, topic.c_str(), &common, nullptr, nullptr, nullptr);
    if (entity < 0) {
        ddsi_sertype_unref(&raw->fCommon);
    }
    return {entity, entity < 0 ? nullptr : common};
}

std::vector<TakenSample> takeRaw(dds_entity_t reader, std::size_t most) {
    std::vector<ddsi_serdata*> data(most, nullptr);
    std::vector<dds_sample_info_t> infos(most);
    const dds_return_t count = dds_takecdr(reader, data.data(), static_cast<std::uint32_t>(most),
                                           infos.data(), DDS_ANY_STATE);
    std::vector<TakenSample> samples;
    for (dds_return_t i = 0; i < count; ++i) {
        const auto index = static_cast<std::size_t>(i);
        auto sample = std::make_shared<const RawSample>(data[index]);
        if (infos[index].valid_data && sample->bytes().fSize != 0) {
            samples.push_back({std::move(sample), infos[index].source_timestamp / 1000});
        }
    }
    return samples;
}

dds_return_t writeRaw(dds_entity_t writer, const RawTopic& topic,
                      const std::vector<unsigned char>& bytes) {
    std::vector<unsigned char> padded(bytes);
    padded.resize((padded.size() + 3) / 4 * 4);
    ddsi_serdata* const sample = ddsi_serdata_from_sample(topic.fType, SDK_DATA, &padded);
    return sample == nullptr ? DDS_RETCODE_OUT_OF_RESOURCES : dds_writecdr(writer, sample);
}

}  // namespace bridge
