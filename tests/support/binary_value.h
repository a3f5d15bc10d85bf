#ifndef OBVISTA_TESTS_SUPPORT_BINARY_VALUE_H
#define OBVISTA_TESTS_SUPPORT_BINARY_VALUE_H

#include <robaxi/kv_value.h>

#include <string_view>

namespace obvista_test {

inline KVValue binaryValue(std::string_view bytes) {
    KVValue value;
    value.SetBinary(bytes.data(), static_cast<int>(bytes.size()));
    return value;
}

}  // namespace obvista_test

#endif
