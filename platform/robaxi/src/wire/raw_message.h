#ifndef ROBAXI_RAW_MESSAGE_H
#define ROBAXI_RAW_MESSAGE_H

#include <grpcpp/grpcpp.h>

/**
 * Messages on streams whose bytes gRPC passes on unread. Where gRPC reads the messages itself, a
 * server cannot distinguish one that cannot be read from the end of the stream.
 */
namespace robaxi {

/** Returns false if the bytes, which are released, are not such a message. */
template <class Message>
[[nodiscard]] bool readMessage(grpc::ByteBuffer& bytes, Message* message) {
    return grpc::SerializationTraits<Message>::Deserialize(&bytes, message).ok();
}

template <class Message>
grpc::ByteBuffer writeMessage(const Message& message) {
    grpc::ByteBuffer bytes;
    bool ownsBuffer = false;
    grpc::SerializationTraits<Message>::Serialize(message, &bytes, &ownsBuffer);
    return bytes;
}

}  // namespace robaxi

#endif
