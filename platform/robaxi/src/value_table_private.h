#ifndef ROBAXI_VALUE_TABLE_PRIVATE_H
#define ROBAXI_VALUE_TABLE_PRIVATE_H

#include <robaxi/kv_value_table.h>

#include <list>
#include <mutex>
#include <string>
#include <unordered_map>

namespace robaxi {

/** @throws KVError InvalidArgument with a sentence that names the key */
[[noreturn]] void throwNoSuchKey(const std::string& name);

}  // namespace robaxi

/**
 * The table as seen by its subscribers.
 *
 * Every change of a value gets a version, counted from 1, and the entries are ordered by version.
 * The changes since a version are therefore the end of one list, however large the table and
 * however long ago the subscriber looked: no subscriber keeps a queue.
 */
struct KVValueTable::Private {
    struct Entry {
        KVKeyInfo fInfo;
        KVValue fValue;
        std::int64_t fTime = 0;
        std::uint64_t fVersion = 0;
        std::uint64_t fChanges = 0;  ///< number of changes of this key
    };
    using Entries = std::list<Entry>;

    /**
     * Called with fMutex locked when something happened; it must not take a lock that is held while
     * the table's is taken.
     */
    class Observer {
      public:
        virtual ~Observer() = default;
        virtual void valuesChanged() = 0;
        virtual void keyAdded() = 0;
        virtual void keyRemoved(std::uint32_t id) = 0;
    };

    void addObserver(Observer* observer);
    /** When it returns, the observer is not being called and will not be called again. */
    void removeObserver(Observer* observer);

    /** Returns the entry of a key, or null. Called with fMutex locked. */
    const Entry* find(std::uint32_t id) const;

    /**
     * Returns the first entry, in the order of changes, above a version. Called with fMutex locked.
     */
    Entries::const_iterator firstAfter(std::uint64_t version) const;

    /**
     * Returns the index in fIds of the first key with an identifier above `id`. Called with fMutex
     * locked.
     */
    std::size_t indexAbove(std::uint32_t id) const;

    static std::uint64_t xNextId();
    Entries::iterator* xPosition(std::uint32_t id);
    /** Treatment of an equal value: never a change, or a change if its time differs. */
    enum class Equal { IsNoChange, WithItsTime };
    bool xSet(std::uint32_t id, const KVValue& value, std::int64_t time,
              Equal equal = Equal::IsNoChange);
    void xTouch(Entries::iterator entry);
    void xTellOfValues();

    /** Identifies the table in this process, above 0. */
    const std::uint64_t fId = xNextId();

    mutable std::mutex fMutex;
    Entries fEntries;
    std::vector<std::uint32_t> fIds;            // ascending, since identifiers only grow
    std::vector<Entries::iterator> fPositions;  // parallel to fIds
    std::unordered_map<std::string, std::uint32_t> fIdOf;
    std::vector<Observer*> fObservers;
    std::uint32_t fLastId = 0;
    std::uint64_t fLastVersion = 0;
    WriteHandler fWriteHandler;
};

#endif
