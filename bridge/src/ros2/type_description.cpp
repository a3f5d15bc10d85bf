#include "ros2/type_description.h"

#include "ros2/names.h"

#include <base/free_with.h>

#include <ros2_message/message_values.h>

// The headers include each other, and compile in this order only.
// clang-format off
#include <dds/ddsi/ddsi_serdata.h>
#include <dds/ddsi/ddsi_typelib.h>
#include <dds/ddsi/ddsi_xt_impl.h>
#include <dds/ddsi/ddsi_xt_typeinfo.h>
// clang-format on

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace bridge {

namespace {

using ros2_message::Field;
using ros2_message::FieldKind;
using ros2_message::levelFor;
using ros2_message::MessageType;
using ros2_message::Repetition;

constexpr std::size_t a_mostFields = 4096;  // of a type with all its parts
constexpr int a_deepest = 12;
constexpr std::uint64_t a_largestArray = 1U << 24U;  // elements

using TypeObject = std::unique_ptr<dds_typeobj_t, base::FreeWith<dds_free_typeobj>>;

std::optional<FieldKind> primitiveKind(std::uint8_t kind) {
    switch (kind) {
        case DDS_XTypes_TK_BOOLEAN:
            return FieldKind::Bool;
        case DDS_XTypes_TK_BYTE:
        case DDS_XTypes_TK_CHAR8:
            return FieldKind::UInt8;
        case DDS_XTypes_TK_INT16:
            return FieldKind::Int16;
        case DDS_XTypes_TK_INT32:
            return FieldKind::Int32;
        case DDS_XTypes_TK_INT64:
            return FieldKind::Int64;
        case DDS_XTypes_TK_UINT16:
            return FieldKind::UInt16;
        case DDS_XTypes_TK_UINT32:
            return FieldKind::UInt32;
        case DDS_XTypes_TK_UINT64:
            return FieldKind::UInt64;
        case DDS_XTypes_TK_FLOAT32:
            return FieldKind::Float32;
        case DDS_XTypes_TK_FLOAT64:
            return FieldKind::Float64;
        case DDS_XTypes_TI_STRING8_SMALL:
        case DDS_XTypes_TI_STRING8_LARGE:
            return FieldKind::Text;
        default:
            return std::nullopt;
    }
}

/** Asks for the parts of a type and puts them together. */
class Describer {
  public:
    explicit Describer(dds_entity_t participant) : fParticipant(participant) {}

    std::shared_ptr<const MessageType> message(const DDS_XTypes_TypeIdentifier& id,
                                               const std::string& name, int depth) {
        const TypeObject object = xFetch(id);
        if (!object || depth > a_deepest || object->x._u.complete._d != DDS_XTypes_TK_STRUCTURE) {
            return nullptr;
        }
        return xStructure(object->x._u.complete._u.struct_type, name, depth);
    }

  private:
    /** Returns the complete description of a type, or null. */
    TypeObject xFetch(const DDS_XTypes_TypeIdentifier& id) const {
        if (id._d != DDS_XTypes_EK_COMPLETE) {
            return nullptr;
        }
        dds_typeobj_t* object = nullptr;
        const auto* const wrapped = reinterpret_cast<const dds_typeid_t*>(&id);
        if (dds_get_typeobj(fParticipant, wrapped, DDS_SECS(1), &object) != DDS_RETCODE_OK) {
            return nullptr;
        }
        TypeObject result(object);
        return result && result->x._d == DDS_XTypes_EK_COMPLETE ? std::move(result) : nullptr;
    }

    std::shared_ptr<const MessageType> xStructure(const DDS_XTypes_CompleteStructType& structure,
                                                  const std::string& name, int depth) {
        const bool isPlain = structure.header.base_type._d == DDS_XTypes_TK_NONE &&
                             (structure.struct_flags & DDS_XTypes_IS_MUTABLE) == 0;
        if (!isPlain) {
            return nullptr;
        }
        std::vector<Field> fields;
        for (std::uint32_t i = 0; i < structure.member_seq._length; ++i) {
            const DDS_XTypes_CompleteStructMember& member = structure.member_seq._buffer[i];
            Field field;
            field.fName = member.detail.name;
            // ROS 2's definitions become IDL with a "_" behind the names.
            if (field.fName.size() > 1 && field.fName.back() == '_') {
                field.fName.pop_back();
            }
            field.fName = levelFor(field.fName);
            if ((member.common.member_flags & DDS_XTypes_IS_OPTIONAL) != 0 ||
                ++fFields > a_mostFields ||
                !xFill(field, member.common.member_type_id, depth + 1)) {
                return nullptr;
            }
            fields.push_back(std::move(field));
        }
        // A message that takes no bytes would let a short one have elements without number.
        return fields.empty() ? nullptr
                              : std::make_shared<const MessageType>(name, std::move(fields));
    }

    /** Sets kind and repetition of a field; returns false for a type that is not supported. */
    bool xFill(Field& field, const DDS_XTypes_TypeIdentifier& id, int depth) {
        switch (id._d) {
            case DDS_XTypes_TI_PLAIN_SEQUENCE_SMALL:
                return xFillSequence(field, *id._u.seq_sdefn.element_identifier, depth);
            case DDS_XTypes_TI_PLAIN_SEQUENCE_LARGE:
                return xFillSequence(field, *id._u.seq_ldefn.element_identifier, depth);
            case DDS_XTypes_TI_PLAIN_ARRAY_SMALL: {
                const auto& bounds = id._u.array_sdefn.array_bound_seq;
                return xFillArray(field, bounds._buffer, bounds._length,
                                  *id._u.array_sdefn.element_identifier, depth);
            }
            case DDS_XTypes_TI_PLAIN_ARRAY_LARGE: {
                const auto& bounds = id._u.array_ldefn.array_bound_seq;
                return xFillArray(field, bounds._buffer, bounds._length,
                                  *id._u.array_ldefn.element_identifier, depth);
            }
            case DDS_XTypes_EK_COMPLETE:
                return xFillNamed(field, id, depth);
            default:
                break;
        }
        const std::optional<FieldKind> kind = primitiveKind(id._d);
        field.fKind = kind.value_or(FieldKind::Bool);
        return kind.has_value();
    }

    bool xFillSequence(Field& field, const DDS_XTypes_TypeIdentifier& element, int depth) {
        return xFillRepeated(field, Repetition::Sequence, 0, element, depth);
    }

    template <class Bound>
    bool xFillArray(Field& field, const Bound* bounds, std::uint32_t dimensions,
                    const DDS_XTypes_TypeIdentifier& element, int depth) {
        std::uint64_t count = 1;
        for (std::uint32_t i = 0; i < dimensions && count <= a_largestArray; ++i) {
            count *= bounds[i];
        }
        return count != 0 && count <= a_largestArray &&
               xFillRepeated(field, Repetition::Array, static_cast<std::uint32_t>(count), element,
                             depth);
    }

    /** Arrays of arrays are left out: ROS 2 has none. */
    bool xFillRepeated(Field& field, Repetition repetition, std::uint32_t count,
                       const DDS_XTypes_TypeIdentifier& element, int depth) {
        if (field.fRepetition != Repetition::Once || depth > a_deepest) {
            return false;
        }
        field.fRepetition = repetition;
        field.fCount = count;
        return xFill(field, element, depth + 1);
    }

    bool xFillNamed(Field& field, const DDS_XTypes_TypeIdentifier& id, int depth) {
        const TypeObject object = depth <= a_deepest ? xFetch(id) : nullptr;
        if (!object) {
            return false;
        }
        const DDS_XTypes_CompleteTypeObject& type = object->x._u.complete;
        switch (type._d) {
            case DDS_XTypes_TK_STRUCTURE: {
                const DDS_XTypes_CompleteStructType& structure = type._u.struct_type;
                field.fKind = FieldKind::Message;
                field.fMessage =
                    xStructure(structure, rosType(structure.header.detail.type_name), depth + 1);
                return field.fMessage != nullptr;
            }
            case DDS_XTypes_TK_ALIAS:
                return xFill(field, type._u.alias_type.body.common.related_type, depth + 1);
            case DDS_XTypes_TK_SEQUENCE:
                return xFillSequence(field, type._u.sequence_type.element.common.type, depth);
            case DDS_XTypes_TK_ARRAY: {
                const auto& bounds = type._u.array_type.header.common.bound_seq;
                return xFillArray(field, bounds._buffer, bounds._length,
                                  type._u.array_type.element.common.type, depth);
            }
            case DDS_XTypes_TK_ENUM: {
                const auto bits = type._u.enumerated_type.header.common.bit_bound;
                field.fKind = bits <= 8    ? FieldKind::UInt8
                              : bits <= 16 ? FieldKind::UInt16
                                           : FieldKind::UInt32;
                return true;
            }
            default:
                return false;
        }
    }

    const dds_entity_t fParticipant;
    std::size_t fFields = 0;
};

}  // namespace

std::shared_ptr<const dds_typeinfo_t> copyOf(const dds_typeinfo_t* info) {
    return {ddsi_typeinfo_dup(info), [](dds_typeinfo_t* copy) {
                ddsi_typeinfo_fini(copy);
                dds_free(copy);
            }};
}

std::shared_ptr<const MessageType> describedType(dds_entity_t participant,
                                                 const dds_typeinfo_t* info,
                                                 const std::string& name) {
    const ddsi_typeid_t* const id = ddsi_typeinfo_complete_typeid(info);
    return id == nullptr ? nullptr : Describer(participant).message(id->x, name, 0);
}

}  // namespace bridge
