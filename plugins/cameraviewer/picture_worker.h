#ifndef OBVISTA_CAMERAVIEWER_PICTURE_WORKER_H
#define OBVISTA_CAMERAVIEWER_PICTURE_WORKER_H

#include <robaxi/kv_frame.h>

#include <condition_variable>
#include <cstdint>
#include <histogram.h>
#include <mutex>
#include <optional>
#include <picture_decoder.h>
#include <thread>
#include <vector>

namespace cameraviewer {

class Notice;

/** A picture ready to be painted, or the fault of one that cannot be. */
struct DecodedPicture {
    Picture fPicture;
    std::vector<Histogram> fHistograms;  ///< of its channels, where they are wanted
};

/**
 * Decodes the newest frame on a thread of its own, each time that a picture is asked for.
 *
 * Frames that come in the meantime take the place of the one that waits, so that a slow consumer
 * costs no decoding that nobody sees, and gets a picture that is not older for it. All operations
 * may be called from any thread.
 */
class PictureWorker {
  public:
    /** @param notice is given when there is a picture to take, and outlives the worker */
    explicit PictureWorker(Notice& notice);
    /** Stops. */
    ~PictureWorker();
    PictureWorker(const PictureWorker&) = delete;
    PictureWorker& operator=(const PictureWorker&) = delete;

    /** @return whether it took the place of a frame that nobody will see */
    bool offer(const KVFrame& frame);

    /** Asks for one picture: of the frame that waits, or of the next one. */
    void request();
    /** The picture that was asked for, when it is there. */
    std::optional<DecodedPicture> take();

    /** Sets if pictures come with their histograms. */
    void setHistogramWanted(bool isWanted);

    /** Forgets the frame that waits and the picture that is being made. A request stands. */
    void forget();

    /** Returns when nothing is decoded any more; nothing is after it. */
    void stop();

  private:
    void xRun();
    DecodedPicture xDecode(const KVFrame& frame, bool withHistograms);

    Notice& fNotice;
    PictureDecoder fDecoder;  // of the worker's thread

    std::mutex fMutex;  // guards all below
    std::condition_variable fWork;
    std::optional<KVFrame> fWaiting;
    std::optional<DecodedPicture> fFinished;
    std::uint64_t fEpoch = 0;  // counted up by forget()
    bool fIsRequested = false;
    bool fIsHistogramWanted = false;
    bool fIsStopped = false;

    std::thread fThread;
};

}  // namespace cameraviewer

#endif
