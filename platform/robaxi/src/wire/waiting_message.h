#ifndef ROBAXI_WAITING_MESSAGE_H
#define ROBAXI_WAITING_MESSAGE_H

#include "wire/limits.h"

#include <cstddef>
#include <string>
#include <utility>

namespace robaxi {

/** A message that waits, serialised when much waits already. */
template <class Message>
class WaitingMessage {
  public:
    WaitingMessage(Message message, bool packs) : fSize(message.ByteSizeLong()), fIsPacked(packs) {
        if (packs) {
            fBytes = message.SerializeAsString();
        } else {
            fMessage = std::move(message);
        }
    }

    /** Bytes on the network. */
    std::size_t size() const { return fSize; }
    /** Size counted towards the limit while it waits. */
    std::size_t cost() const { return fSize + limits::a_costOfMessage; }

    /** The message, which does not wait any more. */
    Message take() {
        if (fIsPacked) {
            fMessage.ParseFromString(fBytes);
        }
        return std::move(fMessage);
    }

  private:
    std::size_t fSize;
    bool fIsPacked;
    Message fMessage;
    std::string fBytes;
};

}  // namespace robaxi

#endif
