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

    enum class Outcome { Incomplete, Complete, Malformed };

    /**
     * Replaces `message`, if it is the last part of a message, by the whole message.
     *
     * @return Complete if `message` is to be handled; Malformed if the peer breaks the protocol
     *         (too large, not readable)
     */
    Outcome take(Message& message) {
        if (!message.has_fragment()) {
            return Outcome::Complete;
        }
        const bool last = message.fragment().last();
        if (fData.size() + message.fragment().data().size() > fLargestMessage) {
            return Outcome::Malformed;
        }
        fData += message.fragment().data();
        if (!last) {
            return Outcome::Incomplete;
        }
        const std::string whole = std::exchange(fData, std::string());
        message.Clear();
        const bool readable = message.ParseFromString(whole) && !message.has_fragment();
        return readable ? Outcome::Complete : Outcome::Malformed;
    }

  private:
    const std::size_t fLargestMessage;
    std::string fData;
};

}  // namespace robaxi

#endif
