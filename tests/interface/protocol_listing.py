"""Lists what the other end of a connection relies on in a protocol, one element a line.

    protocol_listing.py DESCRIPTOR-SET

A line is a field, a number that is reserved, a value of an enumeration or a method. A listing is compatible with an
earlier one if it has all of its lines; a field may go if its number is reserved instead.
"""

import sys

from google.protobuf import descriptor_pb2

field_type = descriptor_pb2.FieldDescriptorProto.Type
field_label = descriptor_pb2.FieldDescriptorProto.Label


def list_enum(prefix, enum):
    name = f"{prefix}.{enum.name}"
    for value in enum.value:
        print(f"{name} value {value.number} {value.name}")
    for gap in enum.reserved_range:
        for number in range(gap.start, gap.end + 1):
            print(f"{name} reserved {number}")


def list_message(prefix, message):
    name = f"{prefix}.{message.name}"
    for field in message.field:
        kind = field.type_name or field_type.Name(field.type)[len("TYPE_"):].lower()
        label = field_label.Name(field.label)[len("LABEL_"):].lower()
        if field.proto3_optional:
            label = "explicit"
        elif field.HasField("oneof_index"):
            label = "oneof " + message.oneof_decl[field.oneof_index].name
        print(f"{name} field {field.number} {field.name} {kind} {label}")
    for gap in message.reserved_range:
        for number in range(gap.start, gap.end):
            print(f"{name} reserved {number}")
    for enum in message.enum_type:
        list_enum(name, enum)
    for nested in message.nested_type:
        list_message(name, nested)


with open(sys.argv[1], "rb") as file:
    descriptors = descriptor_pb2.FileDescriptorSet.FromString(file.read())
for file in descriptors.file:
    for message in file.message_type:
        list_message(file.package, message)
    for enum in file.enum_type:
        list_enum(file.package, enum)
    for service in file.service:
        for method in service.method:
            streams = f"{'stream ' if method.client_streaming else ''}-> {'stream ' if method.server_streaming else ''}"
            print(f"{file.package}.{service.name} method {method.name} {method.input_type} {streams}{method.output_type}")
