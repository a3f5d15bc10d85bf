#ifndef ROBAXI_KV_VALUE_H
#define ROBAXI_KV_VALUE_H

#include <robaxi/robaxi_export.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
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
    using List = std::vector<KVValue>;           ///< Elements of a list
    using Map = std::map<std::string, KVValue>;  ///< Elements of a map, by key

    KVValue();
    /** @name Values of the plain types, which can be the arguments of a call as they are */
    ///@{
    // NOLINTBEGIN(google-explicit-constructor)
    /** A Bool, Int, Float, String, List or Map. */
    KVValue(bool value);
    KVValue(int value);
    KVValue(std::int64_t value);
    KVValue(float value);
    KVValue(double value);
    KVValue(const char* value);
    KVValue(const std::string& value);
    KVValue(const List& value);
    KVValue(const Map& value);
    template <class T, std::enable_if_t<std::is_same_v<T, std::string_view>, int> = 0>
    KVValue(T value) : KVValue(std::string(value)) {}
    /**
     * Any other type of integer, such as `unsigned`, `long long` or `std::size_t`.
     *
     * @throws KVError (InvalidArgument) above the largest integer of 64 bits with a sign
     */
    template <class T, std::enable_if_t<std::is_integral_v<T>, int> = 0>
    KVValue(T value) : KVValue(xSigned(value)) {}
    // NOLINTEND(google-explicit-constructor)
    ///@}
    /** @name Refused by the compiler: a pointer would be taken for a bool */
    ///@{
    template <class T, std::enable_if_t<!std::is_same_v<std::remove_cv_t<T>, char>, int> = 0>
    KVValue(T* value) = delete;
    template <class T, class C>
    KVValue(T C::*value) = delete;
    KVValue(std::nullptr_t) = delete;
    ///@}
    KVValue(const KVValue&);                 ///< Copies all elements
    KVValue(KVValue&&) noexcept;             ///< Leaves nothing in the other
    KVValue& operator=(const KVValue&);      ///< Copies all elements
    KVValue& operator=(KVValue&&) noexcept;  ///< Leaves nothing in the other
    ~KVValue();

    Type type() const noexcept;  ///< Returns the type of the value.
    bool isNothing() const noexcept { return type() == Type::Nothing; }  ///< True without a value

    /**
     * @name Reading
     * Each throws KVError (WrongType, naming both types) if the value has another type, with two
     * exceptions: toFloat() accepts an Int, and toInt() accepts a Float that is a whole number in
     * range.
     */
    ///@{
    bool toBool() const;         ///< Returns a bool.
    std::int64_t toInt() const;  ///< Returns an int, or a float that is a whole number in range.
    double toFloat() const;      ///< Returns a float or an int.
    const std::string& toString() const;  ///< Returns a text.
    const List& toList() const;           ///< Returns a list.
    const Map& toMap() const;             ///< Returns a map.
    /**
     * The value as a C++ type: bool, a type of integer or floating-point number, std::string, List,
     * Map or KVValue.
     *
     * @throws KVError WrongType also for an integer that T cannot hold
     */
    template <class T>
    T to() const;
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
    bool operator!=(const KVValue& other) const { return !(*this == other); }  ///< Not ==

    /** Returns the name shown to users: "nothing", "bool", "int", "float", "string", ... */
    static const char* typeName(Type type) noexcept;
    /** @enum Type Types of a value; typeName() has their names. */
    /** The type that a value made from a T has, and that to<T>() takes; Nothing for KVValue. */
    template <class T>
    static constexpr Type typeOf();

  private:
    static std::int64_t xSigned(std::uint64_t value);
    template <class T>
    static std::int64_t xSigned(T value) {
        if constexpr (std::is_unsigned_v<T> && sizeof(T) >= sizeof(std::int64_t)) {
            return xSigned(std::uint64_t{value});
        } else {
            return std::int64_t{value};
        }
    }
    [[noreturn]] static void xRefuseNarrowing(std::int64_t value);

    struct Binary {
        bool operator==(const Binary& other) const { return fBytes == other.fBytes; }

        std::vector<unsigned char> fBytes;
    };
    std::variant<std::monostate, bool, std::int64_t, double, std::string, Binary, List, Map> fData;
};

template <class T>
constexpr KVValue::Type KVValue::typeOf() {
    if constexpr (std::is_same_v<T, KVValue>) {
        return Type::Nothing;
    } else if constexpr (std::is_same_v<T, bool>) {
        return Type::Bool;
    } else if constexpr (std::is_integral_v<T>) {
        return Type::Int;
    } else if constexpr (std::is_floating_point_v<T>) {
        return Type::Float;
    } else if constexpr (std::is_same_v<T, std::string>) {
        return Type::String;
    } else if constexpr (std::is_same_v<T, List>) {
        return Type::List;
    } else {
        static_assert(std::is_same_v<T, Map>, "no value is converted to this type");
        return Type::Map;
    }
}

template <class T>
T KVValue::to() const {
    constexpr Type type = typeOf<T>();
    if constexpr (type == Type::Nothing) {
        return *this;
    } else if constexpr (type == Type::Bool) {
        return toBool();
    } else if constexpr (type == Type::Int) {
        const std::int64_t value = toInt();
        const T narrow = static_cast<T>(value);
        if ((std::is_unsigned_v<T> && value < 0) || static_cast<std::int64_t>(narrow) != value) {
            xRefuseNarrowing(value);
        }
        return narrow;
    } else if constexpr (type == Type::Float) {
        return static_cast<T>(toFloat());
    } else if constexpr (type == Type::String) {
        return toString();
    } else if constexpr (type == Type::List) {
        return toList();
    } else {
        return toMap();
    }
}

#endif
