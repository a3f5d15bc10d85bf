#ifndef ROBAXI_KV_VALUE_TABLE_H
#define ROBAXI_KV_VALUE_TABLE_H

#include <robaxi/kv_value.h>
#include <robaxi/robaxi_export.h>

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/** One key of a table of values. */
struct KVKeyInfo {
    std::uint32_t fId = 0;  ///< given by the table, never used again for another key
    std::string fName;      ///< path with "/", for instance "Joint/HeadYaw/Position"
    std::string fUnit;      ///< for instance "rad", "°C"; may be empty
    std::string fDescription;
    KVValue::Type fType = KVValue::Type::Nothing;
    bool fWritable = false;
};

/** A new value of a key. */
struct KVChange {
    std::uint32_t fId = 0;
    KVValue fValue;
    /** Microseconds since 1970-01-01 UTC by the robot's clock. What comes from a robot is brought
     *  into the years 1970 to 9999. */
    std::int64_t fTime = 0;
};

/**
 * A table of named values that a module offers for subscription (see KVSubscription).
 *
 * It keeps the newest value of each key and no history. All operations may be called from any
 * thread.
 */
class ROBAXI_EXPORT KVValueTable {
  public:
    KVValueTable();
    ~KVValueTable();
    KVValueTable(const KVValueTable&) = delete;
    KVValueTable& operator=(const KVValueTable&) = delete;

    /** What a client's write of a key does: returns normally to accept, throws to refuse. */
    using WriteHandler = std::function<void(const std::string& name, const KVValue& value)>;

    /**
     * Adds a key with its first value; `info.fId` is ignored and `info.fType` is taken from the
     * value.
     *
     * @return the key's identifier
     * @throws KVError InvalidArgument when the name is empty or taken
     */
    std::uint32_t addKey(const KVKeyInfo& info, const KVValue& value);
    /** Nothing happens when there is no such key. */
    void removeKey(std::uint32_t id);

    /**
     * Sets several values at one instant. A value equal to the present one counts as no change;
     * one of another type changes the key's type.
     *
     * @param values pairs of identifier and value; unknown identifiers are passed over
     * @param time microseconds since 1970-01-01 UTC, or 0 for now
     */
    void setValues(const std::vector<std::pair<std::uint32_t, KVValue>>& values,
                   std::int64_t time = 0);
    /** The same with one value. */
    void setValue(std::uint32_t id, const KVValue& value, std::int64_t time = 0);

    /** In the order in which they were added. */
    std::vector<KVKeyInfo> getKeys() const;
    /** @throws KVError InvalidArgument when there is no such key */
    KVChange getValue(const std::string& name) const;

    /** Runs on the thread that writes, several at once when several write. Without a handler every
     *  write is refused. A write that has begun goes on with the handler that it began with. */
    void setWriteHandler(WriteHandler handler);
    /**
     * Does what a client's write does: asks the handler and, when it accepts, sets the value. An
     * Int becomes a Float where the key is one.
     *
     * @throws KVError when it is refused: InvalidArgument for no such key, RaisedByModule for one
     *         that is not writable, WrongType; or what the handler threw
     */
    void write(const std::string& name, const KVValue& value);

    struct Private;
    /** For the broker that serves the table. */
    const std::shared_ptr<Private>& getPrivate() const;

  private:
    std::shared_ptr<Private> fPrivate;
};

#endif
