#ifndef ROBAXI_FRAGMENT_ASSEMBLER_H
#define ROBAXI_FRAGMENT_ASSEMBLER_H

#include "limits.h"

#include <string>
#include <utility>

namespace robaxi {

/** Puts a message together that arrives in parts. Message is v1::ClientMessage or ServerMessage. */
template <class Message>
class FragmentAssembler {
  public:
    enum class Outcome { Incomplete, Complete, Malformed };

    /**
     * Replaces `message`, when it is a part, by the whole message to which it is the last part.
     *
     * @return Complete when `message` is to be handled; Malformed when the peer does not keep to
     *         the protocol (too large, not readable)
     */
    Outcome take(Message& message) {
        if (!message.has_fragment()) {
            return Outcome::Complete;
        }
        const bool last = message.fragment().last();
        if (fData.size() + message.fragment().data().size() > limits::a_largestMessage) {
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
    std::string fData;
};

}  // namespace robaxi

#endif
