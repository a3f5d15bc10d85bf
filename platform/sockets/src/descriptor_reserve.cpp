#include <algorithm>
#include <fcntl.h>
#include <sockets/descriptor_reserve.h>
#include <sys/resource.h>
#include <unistd.h>

namespace sockets {

namespace {

constexpr std::size_t a_shareOfReserve = 8;
constexpr std::size_t a_smallestReserve = 8;
constexpr std::size_t a_largestReserve = 64;

}  // namespace

std::size_t descriptorLimit() {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    return limit.rlim_cur;
}

bool leavesReserve(int descriptor, Importance importance) {
    const std::size_t limit = descriptorLimit();
    const std::size_t reserve =
        std::clamp(limit / a_shareOfReserve, a_smallestReserve, a_largestReserve);
    const std::size_t left = importance == Importance::Necessary ? reserve : 2 * reserve;
    return descriptor >= 0 && static_cast<std::size_t>(descriptor) + left < limit;
}

int duplicateWithinReserve(int descriptor, Importance importance) {
    const int duplicate = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (duplicate >= 0 && !leavesReserve(duplicate, importance)) {
        ::close(duplicate);
        return -1;
    }
    return duplicate;
}

}  // namespace sockets
