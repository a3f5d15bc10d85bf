#ifndef OBVISTA_ROBOT_VIDEO_CAPTURE_DEVICE_H
#define OBVISTA_ROBOT_VIDEO_CAPTURE_DEVICE_H

#include <functional>
#include <string>
#include <vector>

namespace robot {

/** One kind of pictures that a device delivers. */
struct CaptureMode {
    bool fIsJpeg = false;        ///< otherwise raw pixels
    int fWidth = 0;              ///< pixels
    int fHeight = 0;             ///< pixels
    std::vector<double> fRates;  ///< frames a second, ascending
};

/** A camera of this computer. */
struct CaptureDevice {
    std::string fText;    ///< for users
    std::string fSource;  ///< in gst-launch syntax, for instance "v4l2src device=/dev/video0"
    std::vector<CaptureMode> fModes;
};

/**
 * Parses modes in GStreamer's notation (caps), for instance "video/x-raw, width=640, height=480,
 * framerate={ (fraction)15/1, (fraction)30/1 }". Sizes and rates that are given as ranges become
 * the usual ones within them; other kinds of pictures are left out.
 */
std::vector<CaptureMode> captureModes(const std::string& caps);

/**
 * Returns the cameras of this computer that Linux knows (Video4Linux).
 *
 * @param complain receives the reason if GStreamer lacks something and there are none
 * @throws std::runtime_error if GStreamer does not start
 */
std::vector<CaptureDevice> findCaptureDevices(
    const std::function<void(const std::string&)>& complain);

}  // namespace robot

#endif
