#ifndef ROBAXI_SIDE_STREAM_H
#define ROBAXI_SIDE_STREAM_H

#include <string>

namespace robaxi {

/** The robot's end of a stream that belongs to a session, as the server sees it. */
class SideStream {
  public:
    enum class Kind { Subscription, Camera };

    virtual ~SideStream() = default;

    virtual Kind kind() const = 0;
    /** Ends the stream; to be called before it has told the server of its end. */
    virtual void cancel() = 0;
    /** Ends the stream if it is to this module. */
    virtual void moduleRemoved(const std::string& name) = 0;
};

}  // namespace robaxi

#endif
