#ifndef OBVISTA_CAMERAVIEWER_PICTURE_WORKER_H
#define OBVISTA_CAMERAVIEWER_PICTURE_WORKER_H

#include "picture/histogram.h"
#include "picture/picture_decoder.h"

#include <picture/frame_check.h>
#include <robaxi/kv_frame_chain.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace obvista {
class Notice;
}

namespace cameraviewer {

/** A picture ready to be painted, or the fault of the frame. */
struct DecodedPicture {
    Picture fPicture;
    std::vector<Histogram> fHistograms;  ///< of its channels, if requested
};

/**
 * Decodes the newest frame on a dedicated thread, each time a picture is requested.
 *
 * A frame that arrives before the request replaces the waiting one, so that a slow consumer causes
 * no unnecessary decoding, and gets the newest picture. H.264 frames wait, up to a bound, since the
 * newest needs those before; beyond it, and after a fault, decoding goes on with the next key
 * frame. All operations may be called from any thread.
 */
class PictureWorker {
  public:
    /** @param notice given when there is a picture to take; must outlive the worker */
    explicit PictureWorker(obvista::Notice& notice);
    /** Stops, as stop() does. */
    ~PictureWorker();
    PictureWorker(const PictureWorker&) = delete;
    PictureWorker& operator=(const PictureWorker&) = delete;

    /** @return true if this frame, or one that it replaces, will not be shown */
    bool offer(const picture::CheckedFrame& frame);

    /** Returns true if a picture is requested and no H.264 frame can be decoded until the next key
     *  frame. The notice is given when that happens; returns false until it happens again. */
    bool takeKeyFrameRequest();

    /** Requests one picture: of the waiting frame, or of the next one. */
    void request();
    /** Returns the requested picture when it is ready. */
    std::optional<DecodedPicture> take();

    /** Sets whether pictures are delivered with their histograms. */
    void setHistogramWanted(bool isWanted);

    /** Discards the waiting frame and the picture that is being decoded. A request remains. */
    void forget();

    /** Stops decoding. Returns when nothing is being decoded. */
    void stop();
    /** Starts decoding again after stop(). */
    void start();

  private:
    void xRun();
    bool xReject();
    DecodedPicture xDecode(const std::deque<picture::CheckedFrame>& frames, bool withHistograms);
    void xDecodeLast(const std::deque<picture::CheckedFrame>& frames, Picture& picture);

    obvista::Notice& fNotice;
    PictureDecoder fDecoder;  // used by the worker's thread

    std::mutex fMutex;  // guards all members below
    std::condition_variable fWork;
    std::deque<picture::CheckedFrame> fWaiting;  // one, or H.264 frames in their order
    KVFrameChain fChain;                         // of the frames that have waited
    bool fIsKeyFrameNeeded = false;
    std::optional<DecodedPicture> fFinished;
    std::uint64_t fEpoch = 0;  // increased by forget()
    bool fIsRequested = false;
    bool fIsHistogramWanted = false;
    bool fIsStopped = false;

    std::thread fThread;
};

}  // namespace cameraviewer

#endif
