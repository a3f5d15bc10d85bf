#include <base/safe_text.h>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/descriptor_database.h>
#include <google/protobuf/dynamic_message.h>
#include <google/protobuf/stubs/logging.h>

#include <algorithm>
#include <limits>
#include <recorded_robot/protobuf_fields.h>
#include <ros2_message/message_values.h>
#include <stdexcept>

namespace recorded_robot {

namespace pb = google::protobuf;

namespace {

constexpr int a_mostRepeated = 100;
/** The most elements of a list of numbers or texts. */
constexpr int a_longestList = 1'000'000;

/** Keeps protobuf's complaints about a hostile schema off standard error. */
class SilentErrors : public pb::DescriptorPool::ErrorCollector {
  public:
    void AddError(const std::string& /*file*/, const std::string& /*element*/,
                  const pb::Message* /*descriptor*/, ErrorLocation /*location*/,
                  const std::string& message) override {
        fFirst = fFirst.empty() ? message : fFirst;
    }

    std::string fFirst;
};

KVValue textOrBytes(const std::string& bytes, bool isText) {
    if (isText) {
        return base::validUtf8(bytes);
    }
    KVValue value;
    value.SetBinary(bytes.data(), static_cast<int>(bytes.size()));
    return value;
}

/** Returns a field that is not a message, or one element of it if it is repeated. */
KVValue valueOf(const pb::Message& message, const pb::FieldDescriptor& field, int index) {
    using Field = pb::FieldDescriptor;
    const pb::Reflection& reflection = *message.GetReflection();
    const bool isOne = !field.is_repeated();
    switch (field.cpp_type()) {
        case Field::CPPTYPE_INT32:
            return isOne ? reflection.GetInt32(message, &field)
                         : reflection.GetRepeatedInt32(message, &field, index);
        case Field::CPPTYPE_INT64:
            return isOne ? reflection.GetInt64(message, &field)
                         : reflection.GetRepeatedInt64(message, &field, index);
        case Field::CPPTYPE_UINT32:
            return isOne ? reflection.GetUInt32(message, &field)
                         : reflection.GetRepeatedUInt32(message, &field, index);
        case Field::CPPTYPE_UINT64:
            return ros2_message::valueOf(
                isOne ? reflection.GetUInt64(message, &field)
                      : reflection.GetRepeatedUInt64(message, &field, index));
        case Field::CPPTYPE_DOUBLE:
            return isOne ? reflection.GetDouble(message, &field)
                         : reflection.GetRepeatedDouble(message, &field, index);
        case Field::CPPTYPE_FLOAT:
            return isOne ? reflection.GetFloat(message, &field)
                         : reflection.GetRepeatedFloat(message, &field, index);
        case Field::CPPTYPE_BOOL:
            return isOne ? reflection.GetBool(message, &field)
                         : reflection.GetRepeatedBool(message, &field, index);
        case Field::CPPTYPE_ENUM:
            return isOne ? reflection.GetEnumValue(message, &field)
                         : reflection.GetRepeatedEnumValue(message, &field, index);
        case Field::CPPTYPE_STRING:
            return textOrBytes(isOne ? reflection.GetString(message, &field)
                                     : reflection.GetRepeatedString(message, &field, index),
                               field.type() == Field::TYPE_STRING);
        default:
            return {};
    }
}

void takeMessage(const pb::Message& message, const std::string& path, const TakeValue& take);

void takeField(const pb::Message& message, const pb::FieldDescriptor& field,
               const std::string& path, const TakeValue& take) {
    const pb::Reflection& reflection = *message.GetReflection();
    const bool isMessage = field.cpp_type() == pb::FieldDescriptor::CPPTYPE_MESSAGE;
    if (!field.is_repeated()) {
        if (field.has_presence() && !reflection.HasField(message, &field)) {
            return;
        }
        if (isMessage) {
            takeMessage(reflection.GetMessage(message, &field), path, take);
        } else {
            take(path, valueOf(message, field, 0));
        }
        return;
    }
    const int size = reflection.FieldSize(message, &field);
    if (isMessage) {
        for (int i = 0; i < std::min(size, a_mostRepeated); ++i) {
            takeMessage(reflection.GetRepeatedMessage(message, &field, i),
                        path + '/' + std::to_string(i), take);
        }
        return;
    }
    KVValue::List list;
    for (int i = 0; i < std::min(size, a_longestList); ++i) {
        list.push_back(valueOf(message, field, i));
    }
    take(path, list);
}

/** The depth is limited by protobuf's parser, to 100 levels. */
void takeMessage(const pb::Message& message, const std::string& path, const TakeValue& take) {
    const pb::Descriptor& descriptor = *message.GetDescriptor();
    for (int i = 0; i < descriptor.field_count(); ++i) {
        const pb::FieldDescriptor& field = *descriptor.field(i);
        takeField(message, field, path + '/' + field.name(), take);
    }
}

}  // namespace

struct ProtobufFields::Private {
    SilentErrors fErrors;
    pb::SimpleDescriptorDatabase fFiles;
    pb::DescriptorPool fPool{&fFiles, &fErrors};
    pb::DynamicMessageFactory fFactory{&fPool};
    const pb::Message* fPrototype = nullptr;  ///< owned by fFactory
};

ProtobufFields::ProtobufFields(const recording::Schema& schema)
    : fPrivate(std::make_unique<Private>()) {
    const auto refuse = [&schema](const std::string& reason) {
        throw std::runtime_error("The schema " + schema.fName + " cannot be used: " + reason + '.');
    };
    const pb::LogSilencer silence;
    pb::FileDescriptorSet set;
    if (!set.ParseFromString(schema.fData)) {
        refuse("it is not a FileDescriptorSet");
    }
    for (const pb::FileDescriptorProto& file : set.file()) {
        pb::FileDescriptorProto known;
        if (!fPrivate->fFiles.FindFileByName(file.name(), &known)) {
            fPrivate->fFiles.Add(file);
        }
    }
    const pb::Descriptor* descriptor = fPrivate->fPool.FindMessageTypeByName(schema.fName);
    if (descriptor == nullptr) {
        refuse(fPrivate->fErrors.fFirst.empty() ? "it does not describe this message"
                                                : fPrivate->fErrors.fFirst);
    }
    fPrivate->fPrototype = fPrivate->fFactory.GetPrototype(descriptor);
}

ProtobufFields::~ProtobufFields() = default;

void ProtobufFields::take(std::string_view message, const std::string& path,
                          const TakeValue& take) const {
    if (message.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        return;
    }
    // A text that is not UTF-8 would be reported on standard error.
    const pb::LogSilencer silence;
    const std::unique_ptr<pb::Message> parsed(fPrivate->fPrototype->New());
    if (parsed->ParsePartialFromArray(message.data(), static_cast<int>(message.size()))) {
        takeMessage(*parsed, path, take);
    }
}

}  // namespace recorded_robot
