#ifndef OBVISTA_MEMORYVIEWER_KEY_IDENTIFIERS_H
#define OBVISTA_MEMORYVIEWER_KEY_IDENTIFIERS_H

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace memoryviewer {

/** The identifiers of keys by their names; a robot may give one name to several keys. */
using IdentifiersByName = std::unordered_multimap<std::string, std::uint32_t>;

/**
 * Keeps the identifiers of keys when a robot returns, which assigns others to them: a key is the
 * one that had its name before. Until then, the viewer uses the robot's identifiers.
 */
class KeyIdentifiers {
  public:
    bool hasRestarted() const { return fHasRestarted; }

    /**
     * Forgets the identifiers that the robot has assigned.
     *
     * @param known the viewer's keys, which may return
     */
    void restart(IdentifiersByName known);

    /** Returns the identifier for a key that the robot announces. */
    std::uint32_t add(std::uint32_t robots, const std::string& name);
    /** Returns the identifier of a key, and forgets it; nothing if it was not announced. */
    std::optional<std::uint32_t> remove(std::uint32_t robots);
    /** Returns the identifier of a key; nothing if it was not announced. */
    std::optional<std::uint32_t> find(std::uint32_t robots) const;
    /** Returns the robot's identifiers, without keys that were not announced. */
    std::vector<std::uint32_t> robots(const std::vector<std::uint32_t>& ids) const;

    /** Returns the known keys that the robot has not announced since restart(), and forgets them.
     */
    std::vector<std::uint32_t> takeMissing();

  private:
    std::uint32_t xNewIdentifier();

    bool fHasRestarted = false;
    IdentifiersByName fKnown;
    std::unordered_map<std::uint32_t, std::uint32_t> fOurs;    // by the robot's
    std::unordered_map<std::uint32_t, std::uint32_t> fRobots;  // by ours
    std::unordered_set<std::uint32_t> fUsed;
    std::uint32_t fNext = 1;
};

}  // namespace memoryviewer

#endif
