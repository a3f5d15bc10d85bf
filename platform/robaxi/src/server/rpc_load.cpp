#include "server/rpc_load.h"

#include <algorithm>

namespace robaxi {

RpcLoad::RpcLoad(std::size_t mostRpcs, std::size_t mostBytes) : fMost{mostRpcs, mostBytes} {
}

RpcLoad::Load RpcLoad::xShare(const Load& load) const {
    return {std::min(load.fRpcs, fMost.fRpcs), std::min(load.fBytes, fMost.fBytes)};
}

void RpcLoad::xReplace(const std::string& address, const Load& load) {
    Load& current = fLoads[address];
    const Load before = xShare(current);
    const Load after = xShare(load);
    fTotal.fRpcs = fTotal.fRpcs - before.fRpcs + after.fRpcs;
    fTotal.fBytes = fTotal.fBytes - before.fBytes + after.fBytes;
    current = load;
    if (load.fRpcs == 0) {
        fLoads.erase(address);
    }
}

bool RpcLoad::add(const std::string& address, std::size_t bytes) {
    const std::lock_guard lock(fMutex);
    const auto found = fLoads.find(address);
    Load load = found == fLoads.end() ? Load() : found->second;
    ++load.fRpcs;
    load.fBytes += bytes;
    if (load.fRpcs > fMost.fRpcs || load.fBytes > fMost.fBytes ||
        fTotal.fRpcs + 1 > 2 * fMost.fRpcs || fTotal.fBytes + bytes > 2 * fMost.fBytes) {
        return false;
    }
    xReplace(address, load);
    return true;
}

void RpcLoad::grow(const std::string& address, std::size_t bytes) {
    const std::lock_guard lock(fMutex);
    Load load = fLoads[address];
    load.fBytes += bytes;
    xReplace(address, load);
}

bool RpcLoad::hasRoom(const std::string& address) const {
    const std::lock_guard lock(fMutex);
    const auto found = fLoads.find(address);
    return found == fLoads.end() || found->second.fBytes <= fMost.fBytes;
}

void RpcLoad::remove(const std::string& address, std::size_t bytes) {
    const std::lock_guard lock(fMutex);
    Load load = fLoads[address];
    --load.fRpcs;
    load.fBytes -= bytes;
    xReplace(address, load);
}

}  // namespace robaxi
