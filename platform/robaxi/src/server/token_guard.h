#ifndef ROBAXI_TOKEN_GUARD_H
#define ROBAXI_TOKEN_GUARD_H

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace robaxi {

/**
 * Slows down who guesses a server's token. After five wrong ones in a row from one address, tokens
 * from there are looked at one a second, the right one too, since a quick answer would give it
 * away. All operations may be called from any thread.
 */
class TokenGuard {
  public:
    using Clock = std::chrono::steady_clock;

    /** Returns when a token that has come now is looked at; nothing if that would be later than in
     *  `longest`, because so many wait. */
    std::optional<Clock::time_point> reserveTurn(const std::string& address, Clock::time_point now,
                                                 Clock::duration longest);

    /** Returns the number of wrong tokens in a row from there. */
    int countRefusal(const std::string& address);
    void countAcceptance(const std::string& address);

    /** Returns true if tokens from there are looked at one a second. */
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
