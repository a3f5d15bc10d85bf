#ifndef OBVISTA_MEMORYVIEWER_KEY_STORE_H
#define OBVISTA_MEMORYVIEWER_KEY_STORE_H

#include "session/key_identifiers.h"
#include "session/memory_key.h"
#include "session/robot_clock.h"
#include "session/subscription_planner.h"

#include <QElapsedTimer>
#include <QObject>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace memoryviewer {

/** A key whose value has changed. */
struct ChangedKey {
    const MemoryKey* fKey = nullptr;
    bool fHasOtherType = false;
};

/**
 * Every key of a robot's memory with its newest value; the tree, the watch list and the plots look
 * keys up here. Used on the GUI thread.
 */
class KeyStore : public QObject {
    Q_OBJECT

  public:
    explicit KeyStore(QObject* parent = nullptr);
    ~KeyStore() override;

    /** Of a known identifier, only the metadata is taken. */
    void add(const std::vector<KVKeyInfo>& keys);
    /** Unknown identifiers are ignored. */
    void remove(const std::vector<std::uint32_t>& ids);
    /**
     * Applies new values. Unknown keys are ignored; a value equal to the current one only updates
     * its time.
     *
     * @param arrival time of their arrival, by this machine's clock; 0 if unknown
     */
    void change(std::vector<MergedChange> changes, std::int64_t arrival = 0);

    /**
     * Sets the subscribed rate of each key in updates a second; 0 for all others. Cheap if it has
     * not changed.
     */
    void setUpdateRates(const SubscriptionPlan& plan, double fastRate, double slowRate);
    /** Updates rates; called about once a second. */
    void endTurn();

    std::size_t size() const { return fKeys.size(); }
    /** Returns a key, which lives until it is removed; null if there is none. */
    const MemoryKey* find(std::uint32_t id) const;
    /** Returns the key of a name, the newest one if the robot announces a name twice. */
    const MemoryKey* find(const std::string& name) const;
    /** Returns the identifiers of the keys of these names that there are. */
    std::vector<std::uint32_t> ids(const QStringList& names) const;
    /** Returns the identifiers of all keys. */
    std::vector<std::uint32_t> ids() const;
    /** Returns the identifiers of all keys by name. */
    IdentifiersByName idsByName() const;
    /** Returns all keys in the order of their paths. */
    const std::vector<const MemoryKey*>& sorted() const { return fSorted; }
    /** Compares keys in that order. */
    static bool isBefore(const MemoryKey* left, const MemoryKey* right);

    /** Sets the time of a robot that is a replay; see RobotClock. */
    void setReplayTime(std::optional<std::int64_t> time) { fClock.setReplayTime(time); }
    /** Returns the robot's clock as estimated from here. */
    const RobotClock& clock() const { return fClock; }
    /**
     * Returns the time stamp of the newest of all values, by the robot's clock; 0 if there is none.
     * A replay may have gone back.
     */
    std::int64_t newestTime() const;
    /** Returns true if the key has just changed. */
    bool isMarked(const MemoryKey& key) const { return key.fMarkedUntil > fSinceStart.elapsed(); }

  Q_SIGNALS:
    /** In the order of their paths. */
    void added(const std::vector<const memoryviewer::MemoryKey*>& keys);
    /** Emitted before the keys are destroyed. */
    void aboutToRemove(const std::vector<const memoryviewer::MemoryKey*>& keys);
    void changed(const std::vector<memoryviewer::ChangedKey>& keys);

  private:
    void xSortIn(const std::vector<const MemoryKey*>& fresh);
    void xEnterName(MemoryKey& key);
    void xForgetName(MemoryKey& key);
    void xSeeNewest(const std::vector<MergedChange>& changes);
    bool xTakeOver(MemoryKey& key, MergedChange& change);
    void xSetUpdateRate(const std::vector<std::uint32_t>& ids, double updatesPerSecond);
    /** Returns the time of a monotonic clock in microseconds. */
    std::int64_t xSteadyNow() const;

    std::unordered_map<std::uint32_t, std::unique_ptr<MemoryKey>> fKeys;
    std::unordered_map<std::string, MemoryKey*> fByName;  // the newest of each name
    std::vector<const MemoryKey*> fSorted;
    RobotClock fClock;
    std::int64_t fNewestTime = 0;
    QElapsedTimer fSinceStart;
    SubscriptionPlan fPlan;
    double fFastRate = 0;
};

}  // namespace memoryviewer

#endif
