#ifndef OBVISTA_ROBOT_TROUBLE_NAMES_H
#define OBVISTA_ROBOT_TROUBLE_NAMES_H

#include <base/listed.h>

#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace robot {

/** The faults of one kind with their names in documents and calls: "ok", "hang", ... */
template <class Trouble>
class TroubleNames {
  public:
    using Entry = std::pair<std::string, Trouble>;

    TroubleNames(std::initializer_list<Entry> entries) : fEntries(entries) {}

    /** Returns the fault of that name; nothing for another word. */
    std::optional<Trouble> find(const std::string& word) const {
        for (const auto& [name, trouble] : fEntries) {
            if (name == word) {
                return trouble;
            }
        }
        return std::nullopt;
    }

    const std::string& nameOf(Trouble trouble) const {
        for (const Entry& entry : fEntries) {
            if (entry.second == trouble) {
                return entry.first;
            }
        }
        throw std::logic_error("a trouble without a name");
    }

    /** Returns the names for users: "ok, hang". */
    std::string list() const {
        return base::listed(fEntries, [](const Entry& entry) { return entry.first; });
    }

  private:
    std::vector<Entry> fEntries;
};

}  // namespace robot

#endif
