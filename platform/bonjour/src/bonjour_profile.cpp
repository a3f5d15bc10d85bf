#include <bonjour/bonjour_profile.h>

#include <algorithm>

namespace KV {

BonjourProfile::BonjourProfile() : fMutex(KVMutexRW::createKVMutexRW()) {
}

BonjourProfile::~BonjourProfile() = default;

bool BonjourProfile::hasService(const std::string& type) const {
    return std::any_of(fServices.begin(), fServices.end(),
                       [&type](const BonjourService& service) { return service.fType == type; });
}

bool BonjourProfile::hasBitmapBinary() const {
    return bitmapSize() > 0;
}

int BonjourProfile::bitmapSize() const {
    const std::lock_guard<std::mutex> lock(fBitmapMutex);
    return fBitmap.type() == KVValue::Type::Binary ? fBitmap.getSize() : 0;
}

KVValue BonjourProfile::getBitmapBinary() const {
    const std::lock_guard<std::mutex> lock(fBitmapMutex);
    return fBitmap;
}

void BonjourProfile::setBitmapBinary(const KVValue& bitmap) {
    const std::lock_guard<std::mutex> lock(fBitmapMutex);
    fBitmap = bitmap;
}

}  // namespace KV
