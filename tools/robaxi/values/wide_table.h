#ifndef OBVISTA_TOOLS_ROBAXI_VALUES_WIDE_TABLE_H
#define OBVISTA_TOOLS_ROBAXI_VALUES_WIDE_TABLE_H

#include "values/change_format.h"

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace robaxi_tool {

/** A CSV table with a column for each key and a line for each update. */
class WideTable {
  public:
    /** Keys without a column that setPresent() returns; a robot may add keys without end. */
    static constexpr std::size_t a_mostOthers = 1000;

    /** @param keys the columns in their order */
    explicit WideTable(const std::vector<std::string>& keys);

    /** Returns true if the key has a column. */
    bool hasColumn(const std::string& key) const { return fIndexes.count(key) != 0; }

    std::string heading() const;

    /**
     * Empties the columns of keys that are gone. The columns themselves stay, since the heading has
     * been written.
     *
     * @param keys all keys that are present
     * @return those that have no column, each once, as long as there are not too many
     */
    std::vector<std::string> setPresent(const std::vector<std::string>& keys);

    /**
     * Takes the values of an update.
     *
     * @return the line with the newest value of each key and the newest time; nothing until each
     *     key has a value, or if no value is of a column
     */
    std::optional<std::string> take(const std::vector<ChangeRow>& rows);

    /** @name The same in steps, for a table that does not wait for values. */
    ///@{
    /** Sets the cell of a key; empties it if `field` is empty. Other keys are ignored. */
    void set(const std::string& key, std::string field, std::int64_t time);
    /** Empties the cell of a key. */
    void clear(const std::string& key);
    /** Returns the line with the present cells and the newest time. */
    std::string line() const;
    ///@}

  private:
    struct Column {
        std::string fKey;
        std::string fField;         ///< empty without a value
        bool fHasHadValue = false;  ///< or has gone before its first
    };

    std::vector<Column> fColumns;
    std::unordered_map<std::string, std::size_t> fIndexes;  ///< of the columns, by key
    std::unordered_set<std::string> fOthers;                ///< reported keys without a column
    std::size_t fWaiting;                                   ///< columns that have had no value
    std::int64_t fTime = 0;
};

}  // namespace robaxi_tool

#endif
