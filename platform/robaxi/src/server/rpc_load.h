#ifndef ROBAXI_RPC_LOAD_H
#define ROBAXI_RPC_LOAD_H

#include <cstddef>
#include <mutex>
#include <string>
#include <unordered_map>

namespace robaxi {

/**
 * Number and bytes of a broker's RPCs that belong to no session: of each address, and in total. One
 * address may use half of the total, so that it alone does not keep the others out. All operations
 * may be called from any thread.
 */
class RpcLoad {
  public:
    /** Limits of one address; those of the total are twice as high. */
    RpcLoad(std::size_t mostRpcs, std::size_t mostBytes);

    /** Adds an RPC and the bytes of its request, unless that exceeds a limit: then returns false.
     */
    bool add(const std::string& address, std::size_t bytes);
    /**
     * Adds bytes that an RPC holds in addition. They may exceed the limit of the address, but the
     * total contains no more of an address than its limit.
     */
    void grow(const std::string& address, std::size_t bytes);
    /** Returns true if the address has not reached its limit of bytes. */
    bool hasRoom(const std::string& address) const;
    /** Removes an RPC with all its bytes. */
    void remove(const std::string& address, std::size_t bytes);

  private:
    struct Load {
        std::size_t fRpcs = 0;
        std::size_t fBytes = 0;
    };

    Load xShare(const Load& load) const;
    void xReplace(const std::string& address, const Load& load);

    const Load fMost;
    mutable std::mutex fMutex;
    std::unordered_map<std::string, Load> fLoads;  // of addresses with RPCs
    Load fTotal;
};

}  // namespace robaxi

#endif
