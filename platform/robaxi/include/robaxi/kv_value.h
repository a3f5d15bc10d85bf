#ifndef ROBAXI_KV_VALUE_H
#define ROBAXI_KV_VALUE_H

#include <robaxi/robaxi_export.h>

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

/**
 * A value exchanged between programs: nothing, a bool, a 64-bit integer, a floating-point number, a
 * text (UTF-8), bytes, a list, or a map from text to value.
 *
 * A plain value type: copies are deep and independent. It has no lock.
 */
class ROBAXI_EXPORT KVValue {
  public:
    enum class Type { Nothing, Bool, Int, Float, String, Binary, List, Map };
    using List = std::vector<KVValue>;
    using Map = std::map<std::string, KVValue>;

    KVValue();
    KVValue(bool value);                // NOLINT(google-explicit-constructor)
    KVValue(int value);                 // NOLINT(google-explicit-constructor)
    KVValue(std::int64_t value);        // NOLINT(google-explicit-constructor)
    KVValue(float value);               // NOLINT(google-explicit-constructor)
    KVValue(double value);              // NOLINT(google-explicit-constructor)
    KVValue(const char* value);         // NOLINT(google-explicit-constructor)
    KVValue(const std::string& value);  // NOLINT(google-explicit-constructor)
    KVValue(const List& value);         // NOLINT(google-explicit-constructor)
    KVValue(const Map& value);          // NOLINT(google-explicit-constructor)
    KVValue(const KVValue&);
    KVValue(KVValue&&) noexcept;
    KVValue& operator=(const KVValue&);
    KVValue& operator=(KVValue&&) noexcept;
    ~KVValue();

    Type type() const noexcept;
    bool isNothing() const noexcept { return type() == Type::Nothing; }

    /**
     * @name Reading
     * Each throws KVError (WrongType, naming both types) if the value has another type, with two
     * exceptions: toFloat() accepts an Int, and toInt() accepts a Float that is a whole number in
     * range.
     */
    ///@{
    bool toBool() const;
    std::int64_t toInt() const;
    double toFloat() const;
    const std::string& toString() const;
    const List& toList() const;
    const Map& toMap() const;
    ///@}

    /**
     * Makes this a Binary with a copy of `size` bytes from `data`.
     *
     * @throws KVError (InvalidArgument) if `size` is negative, or `data` is null and `size` is
     * not 0
     */
    void SetBinary(const void* data, int size);

    /** Returns the first byte of a Binary, valid until the value changes; null for other types. */
    const void* GetBinary() const noexcept;

    /** Returns the bytes of a Binary or String, the elements of a List or Map; 0 for others. */
    int getSize() const noexcept;

    /** Returns true if type and content are equal; NaN equals NaN. */
    bool operator==(const KVValue& other) const;
    bool operator!=(const KVValue& other) const { return !(*this == other); }

    /** Returns the name shown to users: "nothing", "bool", "int", "float", "string", ... */
    static const char* typeName(Type type) noexcept;

  private:
    struct Binary {
        bool operator==(const Binary& other) const { return fBytes == other.fBytes; }

        std::vector<unsigned char> fBytes;
    };
    std::variant<std::monostate, bool, std::int64_t, double, std::string, Binary, List, Map> fData;
};

#endif
