#include "recorder.h"

#include <base/time.h>
#include <robaxi/kv_frame_chain.h>

#include <QCoreApplication>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <new>
#include <optional>
#include <robot_recording/robot_origin.h>
#include <thread>
#include <utility>
#include <variant>

namespace cameraviewer {
namespace {

using State = RecorderStatus::State;

std::int64_t now() {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(time).count();
}

using Offer = std::variant<ArrivedFrame, StreamEnd>;
/** More ends of streams than a recorder has to write are not worth keeping. */
constexpr std::size_t a_mostEnds = 100;

}  // namespace

struct Recorder::Private {
    const RecorderLimits fLimits;
    std::thread fThread;

    mutable std::mutex fMutex;
    std::condition_variable fChanged;
    std::deque<Offer> fOffers;
    std::size_t fOfferedFrames = 0;
    std::size_t fOfferedBytes = 0;
    std::uint64_t fNewlyDropped = 0;  ///< since the last frame that was accepted
    KVFrameChain fChain;              ///< of the frames that were accepted
    bool fHasBegun = false;
    RecorderStatus fStatus;

    explicit Private(const RecorderLimits& limits) : fLimits(limits) {}

    bool hasRoomFor(const KVFrame& frame) const {
        return fOfferedFrames < fLimits.fFrames &&
               (fOfferedFrames == 0 || fOfferedBytes + frame.fSize <= fLimits.fBytes);
    }

    void stop() {
        {
            const std::lock_guard lock(fMutex);
            if (fStatus.fState == State::Recording) {
                fStatus.fState = State::Finishing;
            }
        }
        fChanged.notify_all();
    }

    void stopAndWait() {
        stop();
        if (fThread.joinable()) {
            fThread.join();
        }
    }

    /** @return nothing if the recording was stopped and all frames are recorded */
    std::optional<Offer> take() {
        std::unique_lock lock(fMutex);
        fChanged.wait(lock,
                      [this] { return !fOffers.empty() || fStatus.fState != State::Recording; });
        if (fOffers.empty()) {
            return std::nullopt;
        }
        Offer offer = std::move(fOffers.front());
        fOffers.pop_front();
        if (const auto* frame = std::get_if<ArrivedFrame>(&offer)) {
            --fOfferedFrames;
            fOfferedBytes -= frame->fFrame.frame().fSize;
        }
        return offer;
    }

    /** Returns the frames that were dropped after the last one that was accepted. */
    std::uint64_t takeDropped() {
        const std::lock_guard lock(fMutex);
        return std::exchange(fNewlyDropped, 0);
    }

    void report(const FrameFiles& files) {
        const std::int64_t bytes = files.bytes();
        const std::lock_guard lock(fMutex);
        fStatus.fFile = files.file();
        fStatus.fFiles = files.fileCount();
        fStatus.fBytes = bytes;
        fStatus.fSeconds = static_cast<double>(files.duration()) / base::a_microsecondsPerSecond;
    }

    void count(FrameResult result) {
        const std::lock_guard lock(fMutex);
        switch (result) {
            case FrameResult::Recorded:
                ++fStatus.fFrames;
                break;
            case FrameResult::Dropped:
                ++fStatus.fDropped;
                break;
            case FrameResult::Faulty:
                ++fStatus.fRefused;
                break;
        }
    }

    void write(FrameFiles& files, const Offer& offer) {
        if (const auto* frame = std::get_if<ArrivedFrame>(&offer)) {
            const FrameResult result = files.write(*frame);
            if (files.failure().isEmpty()) {
                count(result);
            }
        } else {
            files.write(std::get<StreamEnd>(offer));
        }
    }

    /** @return empty, or the reason for which the recording had to end */
    QString record(FrameFiles& files) {
        if (!files.failure().isEmpty()) {
            return files.failure();
        }
        while (const std::optional<Offer> offer = take()) {
            write(files, *offer);
            if (!files.failure().isEmpty()) {
                break;
            }
            report(files);
        }
        files.finish(takeDropped());
        report(files);
        return files.failure();
    }

    QString recordInMemory(const QString& file, const PictureOrigin& origin) {
        try {
            const std::unique_ptr<FrameFiles> files =
                makeFrameFiles(file, origin, fLimits.fFreeSpace);
            return record(*files);
        } catch (const std::bad_alloc&) {
            return QCoreApplication::translate("cameraviewer::Recorder",
                                               "There is not enough memory to record.");
        }
    }

    void run(const QString& file, const PictureOrigin& origin) {
        const QString failure = recordInMemory(file, origin);
        const std::lock_guard lock(fMutex);
        fStatus.fState = failure.isEmpty() ? State::Done : State::Failed;
        fStatus.fFailure = failure;
        fOffers.clear();
        fOfferedFrames = 0;
        fOfferedBytes = 0;
        fNewlyDropped = 0;
    }
};

namespace {

/**
 * Stops the existing recorders when the process ends, so that their files are complete and none of
 * their threads runs after main(). It is never destroyed, since a recorder may be deleted even
 * later.
 */
class RunningRecordings {
  public:
    using Stop = std::function<void()>;

    static RunningRecordings& instance() {
        static auto* const recordings = new RunningRecordings;
        return *recordings;
    }

    void add(const void* recording, Stop stop) {
        const std::lock_guard lock(fMutex);
        fStops[recording] = std::move(stop);
    }

    void remove(const void* recording) {
        const std::lock_guard lock(fMutex);
        fStops.erase(recording);
    }

  private:
    RunningRecordings() {
        std::atexit([] { instance().xStopAll(); });
    }

    void xStopAll() {
        const std::lock_guard lock(fMutex);
        for (const auto& [recording, stop] : fStops) {
            stop();
        }
    }

    std::mutex fMutex;
    std::map<const void*, Stop> fStops;
};

}  // namespace

Recorder::Recorder(QObject* parent, const RecorderLimits& limits)
    : QObject(parent), fPrivate(std::make_unique<Private>(limits)) {
}

Recorder::~Recorder() {
    RunningRecordings::instance().remove(fPrivate.get());
    fPrivate->stopAndWait();
}

void Recorder::start(const QString& file, const PictureOrigin& origin) {
    const State state = status().fState;
    if (state == State::Recording || state == State::Finishing) {
        return;
    }
    fPrivate->stopAndWait();
    {
        const std::lock_guard lock(fPrivate->fMutex);
        fPrivate->fStatus = RecorderStatus();
        fPrivate->fStatus.fState = State::Recording;
        fPrivate->fStatus.fFile = file;
        fPrivate->fChain.interrupt();
        fPrivate->fHasBegun = false;
    }
    RunningRecordings::instance().add(fPrivate.get(),
                                      [recording = fPrivate.get()] { recording->stopAndWait(); });
    fPrivate->fThread = std::thread([this, file, origin] {
        fPrivate->run(file, origin);
        Q_EMIT ended();
    });
}

void Recorder::offer(const picture::CheckedFrame& frame) {
    {
        const std::lock_guard lock(fPrivate->fMutex);
        if (fPrivate->fStatus.fState != State::Recording) {
            return;
        }
        const bool isPlayable = fPrivate->fChain.accepts(frame.frame());
        if (!isPlayable && !fPrivate->fHasBegun) {
            return;  // the recording begins with a key frame
        }
        fPrivate->fHasBegun = true;
        if (!isPlayable || !fPrivate->hasRoomFor(frame.frame())) {
            fPrivate->fChain.interrupt();
            ++fPrivate->fStatus.fDropped;
            ++fPrivate->fNewlyDropped;
            return;
        }
        fPrivate->fOffers.push_back(ArrivedFrame{frame, now(), robot_recording::logTimeNow(),
                                                 std::exchange(fPrivate->fNewlyDropped, 0)});
        ++fPrivate->fOfferedFrames;
        fPrivate->fOfferedBytes += frame.frame().fSize;
    }
    fPrivate->fChanged.notify_all();
}

void Recorder::offer(StreamEnd end) {
    {
        const std::lock_guard lock(fPrivate->fMutex);
        const std::size_t ends = fPrivate->fOffers.size() - fPrivate->fOfferedFrames;
        if (fPrivate->fStatus.fState != State::Recording || ends == a_mostEnds) {
            return;
        }
        fPrivate->fOffers.push_back(std::move(end));
    }
    fPrivate->fChanged.notify_all();
}

void Recorder::stop() {
    fPrivate->stop();
}

RecorderStatus Recorder::status() const {
    const std::lock_guard lock(fPrivate->fMutex);
    return fPrivate->fStatus;
}

}  // namespace cameraviewer
