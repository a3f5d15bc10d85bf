#ifndef OBVISTA_BRIDGE_SOURCE_SOURCE_H
#define OBVISTA_BRIDGE_SOURCE_SOURCE_H

#include <robaxi/kv_frame.h>
#include <robaxi/kv_value.h>

#include <cstdint>
#include <functional>
#include <ros2_message/message_values.h>
#include <string>
#include <vector>

namespace bridge {

/** A value that a source has seen. Its texts are valid during the call that it is passed to. */
using SourceValue = ros2_message::NamedValue;

/** A camera that a source has found. */
struct SourceCamera {
    std::string fName;
    std::string fDescription;
    int fWidth = 0;   ///< pixels, a guess until there is a frame
    int fHeight = 0;  ///< pixels, a guess until there is a frame
    std::string fFormat;
    /** Called with true when the first client watches and with false when none does any more, on
     *  any thread, one call at a time. It must not call the sink. */
    std::function<void(bool isWatched)> fWatch;
};

/**
 * The receiver of all that a source sees: the robot that the bridge serves. Its operations may be
 * called from any thread and do not throw; names and texts may contain bytes of any kind.
 */
class Sink {
  public:
    Sink() = default;
    virtual ~Sink() = default;
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;

    /** Sets values and adds the keys that are missing. @param group a name with which all of its
     *  keys are removed, for instance a topic */
    virtual void setValues(const std::string& group, const std::vector<SourceValue>& values) = 0;

    /** Sets values as setValues() does, and removes the other keys of the group. */
    virtual void replaceValues(const std::string& group,
                               const std::vector<SourceValue>& values) = 0;

    /** Adds a key that clients may write. The handler throws KVError to refuse a value. Does
     *  nothing if there is the key. */
    virtual void addWritable(const std::string& group, const SourceValue& value,
                             std::function<void(const KVValue& value)> write) = 0;

    /** Removes the keys of a group. */
    virtual void removeGroup(const std::string& group) = 0;

    /** Adds a camera, or replaces the one of that name. */
    virtual void addCamera(const SourceCamera& camera) = 0;
    virtual void removeCamera(const std::string& name) = 0;
    /** Shows a frame to those who watch the camera. */
    virtual void publish(const std::string& camera, const KVFrame& frame) = 0;

    /** Writes one line for the user. */
    virtual void complain(const std::string& line) = 0;
};

/**
 * Another robot software, into which the bridge looks: what it sees becomes a robot's values and
 * cameras. A further one is a class of this kind in a folder beside ros2/.
 */
class Source {
  public:
    Source() = default;
    /** Ends it: the sink is not called any more. */
    virtual ~Source() = default;
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    /** Begins to look; called once. @throws std::runtime_error with a sentence for the user */
    virtual void start(Sink& sink) = 0;
};

}  // namespace bridge

#endif
