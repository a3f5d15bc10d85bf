#ifndef ROBAXI_TOKEN_GUARD_H
#define ROBAXI_TOKEN_GUARD_H

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace robaxi {

/**
 * Slows down guessing of a server's token. After five wrong ones in a row from one address, tokens
 * from there are checked one a second, including the right one, since a quick answer would reveal
 * it. All operations may be called from any thread.
 */
class TokenGuard {
  public:
    using Clock = std::chrono::steady_clock;

    /**
     * Returns the time at which a token that has just arrived is checked; nothing if that would be
     * later than `longest` from now, because so many wait.
     */
    std::optional<Clock::time_point> reserveTurn(const std::string& address, Clock::time_point now,
                                                 Clock::duration longest);

    /** Returns the number of successive wrong tokens from that address. */
    int countRefusal(const std::string& address);
    void countAcceptance(const std::string& address);

    /** Returns true if tokens from there are checked one a second. */
    static bool isSlowed(int refusals);

  private:
    struct Record {
        int fRefusals = 0;
        Clock::time_point fNextTurn;
    };

    std::mutex fMutex;
    std::map<std::string, Record> fRecords;  // of addresses whose last token was wrong
};

}  // namespace robaxi

#endif
