#ifndef OBVISTA_TESTS_TOOLS_VIDEO_ROBOT_H
#define OBVISTA_TESTS_TOOLS_VIDEO_ROBOT_H

#include <robaxi/kv_frame.h>
#include <robaxi/kv_frame_source.h>

#include <boost/shared_ptr.hpp>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

class KVBroker;

namespace obvista_test {

/** A robot in the test's process with the cameras "head" and "chest", which send what a test
 *  wants. */
class VideoRobot {
  public:
    VideoRobot();
    ~VideoRobot();

    /** HOST:PORT. */
    std::string place() const;
    KVFrameSource& cameras() { return *fFrames; }

    /** Sets what happens, once, when somebody begins to watch "head"; runs on a thread of the
     *  library. To be called before that. */
    void setWatched(std::function<void()> watched);
    /** @return false when nobody has begun to watch "head" within a minute */
    bool waitForWatcher();

    /** Ends all connections. */
    void vanish();

  private:
    boost::shared_ptr<KVFrameSource> fFrames;
    boost::shared_ptr<KVBroker> fBroker;
    std::string fPlace;
    std::mutex fMutex;  ///< guards the two that follow
    bool fIsWatched = false;
    std::function<void()> fWatched;
    std::condition_variable fChanged;
};

/** A frame whose bytes are a text. */
KVFrame makeFrame(std::uint64_t number, KVPixelFormat format, std::uint32_t width,
                  std::uint32_t height, const std::string& bytes);

}  // namespace obvista_test

#endif
