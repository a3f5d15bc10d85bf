#ifndef OBVISTA_MEMORYVIEWER_KEY_STORE_H
#define OBVISTA_MEMORYVIEWER_KEY_STORE_H

#include "session/memory_key.h"
#include "session/robot_clock.h"
#include "session/subscription_planner.h"

#include <QElapsedTimer>
#include <QObject>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace memoryviewer {

/** A key whose value is another one than before. */
struct ChangedKey {
    const MemoryKey* fKey = nullptr;
    bool fHasOtherType = false;
};

/**
 * Every key of a robot's memory once, with its newest value; what the tree, the watch list and the
 * plots show is found here. Used on the GUI thread.
 */
class KeyStore : public QObject {
    Q_OBJECT

  public:
    explicit KeyStore(QObject* parent = nullptr);
    ~KeyStore() override;

    /** Identifiers already known are passed over. */
    void add(const std::vector<KVKeyInfo>& keys);
    /** Unknown ones are passed over. */
    void remove(const std::vector<std::uint32_t>& ids);
    /**
     * Takes new values over. Unknown keys are passed over; a value equal to the present one only
     * brings its time.
     *
     * @param arrival when they came, by this machine's clock; 0 when that is not known
     */
    void change(std::vector<MergedChange> changes, std::int64_t arrival = 0);

    /** Sets how often the robot is asked for each key, updates a second; 0 for all others. Cheap
     *  when that is what it was. */
    void setUpdateRates(const SubscriptionPlan& plan, double fastRate, double slowRate);
    /** Brings rates up to date; to be called about once a second. */
    void endTurn();

    std::size_t size() const { return fKeys.size(); }
    /** A key lives until it is removed. Null when there is none. */
    const MemoryKey* find(std::uint32_t id) const;
    /** A robot may announce one name twice; then it is the key that came last of those it has. */
    const MemoryKey* find(const std::string& name) const;
    /** All keys in the order of their paths. */
    const std::vector<const MemoryKey*>& sorted() const { return fSorted; }
    /** That order. */
    static bool isBefore(const MemoryKey* left, const MemoryKey* right);

    /** The robot's clock as it can be seen from here. */
    const RobotClock& clock() const { return fClock; }
    /** When the newest of all values was set, by the robot's clock; 0 before there is one. */
    std::int64_t newestTime() const { return fNewestTime; }
    /** Whether the key has changed just now. */
    bool isMarked(const MemoryKey& key) const { return key.fMarkedUntil > fSinceStart.elapsed(); }

  Q_SIGNALS:
    /** In the order of their paths. */
    void added(const std::vector<const memoryviewer::MemoryKey*>& keys);
    /** The keys go when this returns. */
    void aboutToRemove(const std::vector<const memoryviewer::MemoryKey*>& keys);
    void changed(const std::vector<memoryviewer::ChangedKey>& keys);

  private:
    void xSortIn(const std::vector<const MemoryKey*>& fresh);
    void xEnterName(MemoryKey& key);
    void xForgetName(MemoryKey& key);
    void xSeeNewest(const std::vector<MergedChange>& changes);
    bool xTakeOver(MemoryKey& key, MergedChange& change);
    void xSetUpdateRate(const std::vector<std::uint32_t>& ids, double updatesPerSecond);
    /** By a clock that is never set, microseconds. */
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
