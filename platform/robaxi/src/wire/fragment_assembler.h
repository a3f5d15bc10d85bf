#ifndef ROBAXI_FRAGMENT_ASSEMBLER_H
#define ROBAXI_FRAGMENT_ASSEMBLER_H

#include <robaxi/kv_settings.h>

#include <cstddef>
#include <string>
#include <utility>

namespace robaxi {

/** Reassembles a message that arrives in parts. Message is v1::ClientMessage or ServerMessage. */
template <class Message>
class FragmentAssembler {
  public:
    explicit FragmentAssembler(std::size_t largestMessage = KVSettings::Limits().fMessage)
        : fLargestMessage(largestMessage) {}

    /**
     * Handles a message, or, if it is the last part of one, the whole message, which replaces it.
     *
     * @return false if the peer breaks the protocol (too large, not readable)
     */
    template <class Handle>
    bool take(Message& message, Handle handle) {
        if (message.has_fragment()) {
            const bool last = message.fragment().last();
            if (fData.size() + message.fragment().data().size() > fLargestMessage) {
                return false;
            }
            fData += message.fragment().data();
            if (!last) {
                return true;
            }
            const std::string whole = std::exchange(fData, std::string());
            message.Clear();
            if (!message.ParseFromString(whole) || message.has_fragment()) {
                return false;
            }
        }
        handle(message);
        return true;
    }

  private:
    const std::size_t fLargestMessage;
    std::string fData;
};

}  // namespace robaxi

#endif
