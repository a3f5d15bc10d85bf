#include <robaxi/kv_error.h>
#include <robaxi/kv_value.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

[[noreturn]] void throwWrongType(KVValue::Type wanted, KVValue::Type held) {
    throw KVError(KVError::Cause::WrongType,
                  std::string("A value of type ") + KVValue::typeName(wanted) +
                      " is needed here; this one is of type " + KVValue::typeName(held) + ".");
}

bool isWholeInRange(double value) {
    constexpr double limit = 9223372036854775808.0;  // 2^63, the first value above the range
    return value >= -limit && value < limit && std::trunc(value) == value;
}

template <class T, class Data>
const T& read(const Data& data, KVValue::Type wanted, KVValue::Type held) {
    const T* content = std::get_if<T>(&data);
    if (content == nullptr) {
        throwWrongType(wanted, held);
    }
    return *content;
}

int toSize(std::size_t size) {
    constexpr std::size_t largest = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(size, largest));
}

}  // namespace

KVValue::KVValue() = default;
KVValue::KVValue(bool value) : fData(value) {
}
KVValue::KVValue(int value) : fData(std::int64_t{value}) {
}
KVValue::KVValue(std::int64_t value) : fData(value) {
}
KVValue::KVValue(float value) : fData(double{value}) {
}
KVValue::KVValue(double value) : fData(value) {
}
KVValue::KVValue(const char* value) : fData(std::string(value)) {
}
KVValue::KVValue(const std::string& value) : fData(value) {
}
KVValue::KVValue(const List& value) : fData(value) {
}
KVValue::KVValue(const Map& value) : fData(value) {
}
KVValue::KVValue(const KVValue&) = default;
KVValue::KVValue(KVValue&&) noexcept = default;
KVValue& KVValue::operator=(const KVValue&) = default;
KVValue& KVValue::operator=(KVValue&&) noexcept = default;
KVValue::~KVValue() = default;

std::int64_t KVValue::xSigned(std::uint64_t value) {
    if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        throw KVError(
            KVError::Cause::InvalidArgument,
            "The number " + std::to_string(value) + " is above the largest integer of a value.");
    }
    return static_cast<std::int64_t>(value);
}

void KVValue::xRefuseNarrowing(std::int64_t value) {
    throw KVError(KVError::Cause::WrongType, "The number " + std::to_string(value) +
                                                 " does not fit the requested integer type.");
}

KVValue::Type KVValue::type() const noexcept {
    return static_cast<Type>(fData.index());
}

bool KVValue::toBool() const {
    return read<bool>(fData, Type::Bool, type());
}

std::int64_t KVValue::toInt() const {
    const double* number = std::get_if<double>(&fData);
    if (number != nullptr && isWholeInRange(*number)) {
        return static_cast<std::int64_t>(*number);
    }
    return read<std::int64_t>(fData, Type::Int, type());
}

double KVValue::toFloat() const {
    if (const std::int64_t* number = std::get_if<std::int64_t>(&fData)) {
        return static_cast<double>(*number);
    }
    return read<double>(fData, Type::Float, type());
}

const std::string& KVValue::toString() const {
    return read<std::string>(fData, Type::String, type());
}

const KVValue::List& KVValue::toList() const {
    return read<List>(fData, Type::List, type());
}

const KVValue::Map& KVValue::toMap() const {
    return read<Map>(fData, Type::Map, type());
}

void KVValue::SetBinary(const void* data, int size) {
    if (size < 0 || (data == nullptr && size != 0)) {
        throw KVError(KVError::Cause::InvalidArgument,
                      "A value of bytes needs their address and a size of 0 or more.");
    }
    const unsigned char* first = static_cast<const unsigned char*>(data);
    fData = Binary{size == 0 ? std::vector<unsigned char>()
                             : std::vector<unsigned char>(first, first + size)};
}

const void* KVValue::GetBinary() const noexcept {
    const Binary* binary = std::get_if<Binary>(&fData);
    return binary != nullptr ? binary->fBytes.data() : nullptr;
}

int KVValue::getSize() const noexcept {
    switch (type()) {
        case Type::String:
            return toSize(std::get_if<std::string>(&fData)->size());
        case Type::Binary:
            return toSize(std::get_if<Binary>(&fData)->fBytes.size());
        case Type::List:
            return toSize(std::get_if<List>(&fData)->size());
        case Type::Map:
            return toSize(std::get_if<Map>(&fData)->size());
        default:
            return 0;
    }
}

bool KVValue::operator==(const KVValue& other) const {
    const double* number = std::get_if<double>(&fData);
    const double* otherNumber = std::get_if<double>(&other.fData);
    const bool areNumbers = number != nullptr && otherNumber != nullptr;
    return fData == other.fData || (areNumbers && std::isnan(*number) && std::isnan(*otherNumber));
}

const char* KVValue::typeName(Type type) noexcept {
    switch (type) {
        case Type::Nothing:
            return "nothing";
        case Type::Bool:
            return "bool";
        case Type::Int:
            return "int";
        case Type::Float:
            return "float";
        case Type::String:
            return "string";
        case Type::Binary:
            return "binary";
        case Type::List:
            return "list";
        case Type::Map:
            return "map";
    }
    return "unknown";
}
