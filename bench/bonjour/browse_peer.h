#ifndef OBVISTA_BENCH_BONJOUR_BROWSE_PEER_H
#define OBVISTA_BENCH_BONJOUR_BROWSE_PEER_H

#include "sighting_times.h"

#include <map>
#include <string>
#include <sys/types.h>
#include <thread>

namespace bench {

/** An "avahi-browse --resolve" process and the times of its output. */
class BrowsePeer {
  public:
    explicit BrowsePeer(const std::string& type);
    BrowsePeer(const BrowsePeer&) = delete;
    BrowsePeer& operator=(const BrowsePeer&) = delete;
    ~BrowsePeer();

    SightingTimes fResolved;  ///< a robot was resolved on its first interface
    SightingTimes fRemoved;   ///< a robot was no longer seen on any

  private:
    void xRead(int descriptor);
    void xTake(const std::string& line);

    std::map<std::string, int> fSightings;
    pid_t fPid = -1;
    std::thread fReader;
};

}  // namespace bench

#endif
