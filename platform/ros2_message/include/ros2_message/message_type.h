#ifndef ROS2_MESSAGE_MESSAGE_TYPE_H
#define ROS2_MESSAGE_MESSAGE_TYPE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace ros2_message {

class MessageType;

/** Kind of a field's value, or of the elements of an array. */
enum class FieldKind {
    Bool,
    Int8,
    UInt8,
    Int16,
    UInt16,
    Int32,
    UInt32,
    Int64,
    UInt64,
    Float32,
    Float64,
    Text,
    Message
};

/** The number of values of a field. */
enum class Repetition {
    Once,
    Array,    ///< a fixed number
    Sequence  ///< any number
};

/** The keys of a field's values. */
enum class Naming {
    Own,      ///< by the field; elements by their index
    Names,    ///< the field is a sequence of texts that names the elements of others
    PerName,  ///< each element by the text at its index in the sequence of names
    Value     ///< by the message that has the field
};

/** One field of a message. */
struct Field {
    std::string fName;
    std::string fUnit;
    std::string fDescription;
    FieldKind fKind = FieldKind::Bool;
    std::shared_ptr<const MessageType> fMessage;  ///< of the kind Message only
    Repetition fRepetition = Repetition::Once;
    std::uint32_t fCount = 1;  ///< of an array
    Naming fNaming = Naming::Own;
    bool fIsOptional = false;  ///< missing at the end of messages of older versions
    std::string fKeyField;     ///< field of fMessage whose text names an element; or empty

    /** Returns the least number of bytes of one element. */
    std::size_t smallest() const;
};

/** Returns the size of a number in bytes; 0 for texts and messages. */
std::size_t sizeOf(FieldKind kind);

/** A type of messages: its name in ROS 2 and its fields. Immutable. */
class MessageType {
  public:
    /** Returns the type with a name, for instance "std_msgs/msg/Header"; null if there is none. */
    using Lookup = std::function<std::shared_ptr<const MessageType>(const std::string& name)>;

    MessageType(std::string name, std::vector<Field> fields);

    /**
     * Reads a definition as ROS 2 publishes it: lines of a type and a name. A comment describes
     * the field for users, behind its unit in brackets:
     *
     *     float32 temperature  # [°C] Temperature
     *     TransformStamped[] transforms  # @by child_frame_id
     *
     * "@by FIELD" names elements by one of their texts; "@names", "@per LEVEL", where LEVEL is the
     * last one of the key, and "@value" are the other kinds of Naming. "@optional" marks the last
     * fields that older versions of a type do not have.
     *
     * @throws std::invalid_argument for a mistake in the definition
     */
    MessageType(const std::string& name, const std::string& definition, const Lookup& lookup);

    const std::string& name() const { return fName; }
    const std::vector<Field>& fields() const { return fFields; }
    /** Returns the least number of bytes of a message, at least 1. */
    std::size_t smallest() const { return fSmallest; }
    /** Returns true for a point in time or a duration: seconds and nanoseconds. */
    bool isTime() const { return fIsTime; }
    bool isHeader() const { return fIsHeader; }

  private:
    void xMeasure();

    std::string fName;
    std::vector<Field> fFields;
    std::size_t fSmallest = 1;
    bool fIsTime = false;
    bool fIsHeader = false;
};

/** Returns the full name of a type: "std_msgs/msg/Header" for "std_msgs/Header", and for "Header"
 *  in a definition of the package of `neighbour`. */
std::string fullTypeName(const std::string& name, const std::string& neighbour);

/**
 * Returns a field by its type as definitions write it, for instance "float64[9]", "string<=10" or
 * "std_msgs/Header[<=5]".
 *
 * @param owner name of the type that has the field
 * @throws std::invalid_argument with a part of a sentence for a type that there is not
 */
Field fieldOf(const std::string& type, const std::string& name, const std::string& owner,
              const MessageType::Lookup& lookup);

}  // namespace ros2_message

#endif
