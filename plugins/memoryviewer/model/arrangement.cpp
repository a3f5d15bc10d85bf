#include "model/arrangement.h"

#include "session/key_store.h"

#include <robaxi/kv_number.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string>

namespace memoryviewer {

namespace {

/** Returns a number below, at or above 0 according to the order of two values. */
template <class T>
int compare(const T& left, const T& right) {
    return left < right ? -1 : (right < left ? 1 : 0);
}

bool isNumber(const KVValue& value) {
    const KVValue::Type type = value.type();
    return type == KVValue::Type::Bool || type == KVValue::Type::Int ||
           type == KVValue::Type::Float;
}

int compareNumbers(double left, double right) {
    if (std::isnan(left) || std::isnan(right)) {
        return compare(std::isnan(left), std::isnan(right));
    }
    return compare(left, right);
}

/** Numbers come first, then texts, then types without an order. */
int compareValues(const KVValue& left, const KVValue& right) {
    if (isNumber(left) && isNumber(right)) {
        return compareNumbers(KV::numberOf(left), KV::numberOf(right));
    }
    if (isNumber(left) != isNumber(right)) {
        return isNumber(left) ? -1 : 1;
    }
    if (left.type() == KVValue::Type::String && right.type() == KVValue::Type::String) {
        return left.toString().compare(right.toString());
    }
    return compare(left.type(), right.type());
}

int compareKeys(const MemoryKey& left, const MemoryKey& right, int column) {
    switch (column) {
        case ValueColumn:
            return compareValues(left.fValue, right.fValue);
        case UnitColumn:
            return left.fInfo.fUnit.compare(right.fInfo.fUnit);
        case TypeColumn:
            return compare(std::string(KVValue::typeName(left.type())),
                           std::string(KVValue::typeName(right.type())));
        case RateColumn:
            return compare(left.fRate.perSecond(), right.fRate.perSecond());
        case AgeColumn:
            return compare(right.fTime, left.fTime);
        default:
            return 0;
    }
}

/** Rows without a key come before the others, by name. */
MemoryNode::Less lessBy(int column, Qt::SortOrder order) {
    const int sign = order == Qt::AscendingOrder ? 1 : -1;
    return [column, sign](const MemoryNode& left, const MemoryNode& right) {
        if (column == NameColumn) {
            return sign > 0 ? naturalLess(left.segment(), right.segment())
                            : naturalLess(right.segment(), left.segment());
        }
        if (left.fKey == nullptr || right.fKey == nullptr) {
            return left.fKey == nullptr && right.fKey != nullptr;
        }
        return sign * compareKeys(*left.fKey, *right.fKey, column) < 0;
    };
}

}  // namespace

bool Arrangement::isLive() const {
    return fFilter.isLive() || fSortColumn == ValueColumn || fSortColumn == RateColumn ||
           fSortColumn == AgeColumn;
}

bool Arrangement::hasNaturalOrder() const {
    return !fIsFlat && fSortColumn == NameColumn && fOrder == Qt::AscendingOrder;
}

std::unique_ptr<MemoryNode> Arrangement::build(const KeyStore& keys) const {
    const MemoryNode::Keys shown = filtered(keys.sorted(), keys.clock().now());
    auto root = fIsFlat ? MemoryNode::buildList(shown) : MemoryNode::buildTree(shown);
    if (fSortColumn != NameColumn || fOrder != Qt::AscendingOrder) {
        root->sort(lessBy(fSortColumn, fOrder));
    }
    return root;
}

MemoryNode::Keys Arrangement::filtered(const MemoryNode::Keys& keys, std::int64_t now) const {
    if (fFilter.isEmpty()) {
        return keys;
    }
    MemoryNode::Keys shown;
    std::copy_if(keys.begin(), keys.end(), std::back_inserter(shown),
                 [&](const MemoryKey* key) { return fFilter.matches(*key, now); });
    return shown;
}

}  // namespace memoryviewer
