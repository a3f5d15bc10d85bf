#ifndef ROBAXI_KV_VALUE_TABLE_H
#define ROBAXI_KV_VALUE_TABLE_H

#include <robaxi/kv_range.h>
#include <robaxi/kv_value.h>
#include <robaxi/robaxi_export.h>

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/** Metadata of one key of a table of values. */
struct KVKeyInfo {
    std::uint32_t fId = 0;     ///< assigned by the table, never reused for another key
    std::string fName;         ///< path with "/", for instance "Joint/HeadYaw/Position"
    std::string fUnit;         ///< for instance "rad", "°C"; may be empty
    std::string fDescription;  ///< One sentence for users; may be empty
    KVValue::Type fType = KVValue::Type::Nothing;  ///< Type of the current value
    bool fWritable = false;                        ///< True if clients may write it
    std::optional<KVRange> fRange = std::nullopt;  ///< values that clients can write; all if empty
};

/** A new value of a key. */
struct KVChange {
    std::uint32_t fId = 0;  ///< Identifier of the key, above 0
    KVValue fValue;         ///< The new value
    /** Microseconds since 1970-01-01 UTC by the robot's clock. Times from a robot are clamped to
     *  the years 1970 to 9999. */
    std::int64_t fTime = 0;
};

/**
 * A table of named values that a module offers for subscription (see KVSubscription).
 *
 * It holds the newest value of each key and no history. All operations may be called from any
 * thread.
 */
class ROBAXI_EXPORT KVValueTable {
  public:
    KVValueTable();
    ~KVValueTable();
    KVValueTable(const KVValueTable&) = delete;
    KVValueTable& operator=(const KVValueTable&) = delete;

    /** Handles a client's write of a key: returns to accept it, throws to refuse it. */
    using WriteHandler = std::function<void(const std::string& name, const KVValue& value)>;

    /**
     * Adds a key with its first value; `info.fId` is ignored and `info.fType` is the value's type.
     *
     * @param time microseconds since 1970-01-01 UTC, or 0 for now
     * @return the key's identifier
     * @throws KVError InvalidArgument if the name is empty or taken, or the range is not valid
     */
    std::uint32_t addKey(const KVKeyInfo& info, const KVValue& value, std::int64_t time = 0);
    /** Removes a key; does nothing if there is no such key. */
    void removeKey(std::uint32_t id);
    /** Removes several keys in one pass over the table; unknown identifiers are ignored. */
    void removeKeys(const std::vector<std::uint32_t>& ids);

    /**
     * Sets several values with one time stamp. A value equal to the current one is not a change; a
     * value of another type changes the key's type.
     *
     * @param values pairs of identifier and value; unknown identifiers are ignored
     * @param time microseconds since 1970-01-01 UTC, or 0 for now
     */
    void setValues(const std::vector<std::pair<std::uint32_t, KVValue>>& values,
                   std::int64_t time = 0);
    /** Sets one value as setValues() does. */
    void setValue(std::uint32_t id, const KVValue& value, std::int64_t time = 0);

    /**
     * Makes recorded values the current ones, with their own times, which may be earlier than the
     * current ones. A value that equals the current one is a change if its time differs; unknown
     * identifiers are ignored.
     */
    void restore(const std::vector<KVChange>& values);

    /** Returns the keys in the order in which they were added. */
    std::vector<KVKeyInfo> getKeys() const;
    /** @throws KVError InvalidArgument if there is no such key */
    KVChange getValue(const std::string& name) const;

    /** Sets the handler of writes. It runs on the thread that writes, concurrently for concurrent
     *  writes. Without a handler every write is refused. A running write completes with the handler
     *  with which it began. */
    void setWriteHandler(WriteHandler handler);
    /**
     * Performs a client's write: checks type and range, calls the handler and, if it accepts, sets
     * the value. An Int is converted to Float for a key of that type.
     *
     * @throws KVError if it is refused: InvalidArgument for no such key, RaisedByModule for a key
     *         that is not writable or a value outside its range, WrongType; or the handler's
     *         exception
     */
    void write(const std::string& name, const KVValue& value);

    struct Private;
    /** For the broker that serves the table. */
    const std::shared_ptr<Private>& getPrivate() const;

  private:
    std::shared_ptr<Private> fPrivate;
};

#endif
