#include "frame_source_private.h"

#include <robaxi/kv_error.h>
#include <robaxi/kv_settings.h>

#include <algorithm>
#include <utility>

namespace {

/** H.264 frames that are kept: a watcher that is further behind continues with a key frame. */
constexpr std::int64_t a_longestBacklog = 300'000;  // microseconds
constexpr std::size_t a_mostKept = 64;
constexpr std::chrono::milliseconds a_keyFrameDistance(250);

void checkFrame(const KVFrame& frame) {
    if (frame.fSize > KVSettings::Limits().fFrame) {
        throw KVError(KVError::Cause::TooLarge, "A frame of a camera has at most 64 MiB.");
    }
    if (frame.fSize > 0 && !frame.fData) {
        throw KVError(KVError::Cause::InvalidArgument, "The frame has no bytes.");
    }
}

}  // namespace

KVFrameSource::Private::Private() : fPool(robaxi::TaskPool::create(1)) {
}

void KVFrameSource::Private::close() {
    setDemandHandler(nullptr);
    fPool->stop();
}

bool KVFrameSource::Private::addWatcher(const std::string& stream, Watcher* watcher) {
    const std::lock_guard lock(fMutex);
    const auto found = fStreams.find(stream);
    if (found == fStreams.end()) {
        return false;
    }
    found->second.fWatchers.push_back(watcher);
    found->second.fIsKeyWanted = true;
    xWakeTeller();
    return true;
}

void KVFrameSource::Private::removeWatcher(const std::string& stream, Watcher* watcher) {
    const std::lock_guard lock(fMutex);
    const auto found = fStreams.find(stream);
    if (found == fStreams.end()) {
        return;
    }
    auto& watchers = found->second.fWatchers;
    watchers.erase(std::remove(watchers.begin(), watchers.end(), watcher), watchers.end());
    xWakeTeller();
}

std::optional<KVFrameSource::Private::Next> KVFrameSource::Private::nextAfter(
    const std::string& stream, std::uint64_t version) {
    const std::lock_guard lock(fMutex);
    const auto found = fStreams.find(stream);
    if (found == fStreams.end() || found->second.fVersion <= version) {
        return std::nullopt;
    }
    Stream& frames = found->second;
    const std::uint64_t first = frames.firstVersion();
    if (version > 0 && version + 1 >= first) {
        return Next{frames.fFrames[version + 1 - first], version + 1};
    }
    for (std::size_t i = frames.fFrames.size(); i > 0; --i) {
        if (standsAlone(frames.fFrames[i - 1])) {
            return Next{frames.fFrames[i - 1], first + i - 1};
        }
    }
    frames.fIsKeyWanted = true;
    return std::nullopt;
}

void KVFrameSource::Private::requestKeyFrame(const std::string& stream) {
    const std::lock_guard lock(fMutex);
    const auto found = fStreams.find(stream);
    if (found != fStreams.end()) {
        found->second.fIsKeyWanted = true;
    }
}

void KVFrameSource::Private::xWakeTeller() {
    if (fDemandHandler) {
        fPool->post([weak = weak_from_this()] {
            if (const auto self = weak.lock()) {
                self->xTellDemand();
            }
        });
    }
}

void KVFrameSource::Private::xTellDemand() {
    while (xTellOne()) {
    }
}

bool KVFrameSource::Private::xTellOne() {
    std::unique_lock lock(fMutex);
    const auto changed = std::find_if(fStreams.begin(), fStreams.end(), [](const auto& each) {
        return each.second.fToldWatchers != static_cast<int>(each.second.fWatchers.size());
    });
    if (!fDemandHandler || changed == fStreams.end()) {
        return false;
    }
    const std::string stream = changed->first;
    const int watchers = static_cast<int>(changed->second.fWatchers.size());
    changed->second.fToldWatchers = watchers;
    fTeller = std::this_thread::get_id();
    DemandHandler handler = fDemandHandler;
    lock.unlock();
    handler(stream, watchers);
    handler = nullptr;  // its captures are released before setDemandHandler() returns
    lock.lock();
    fTeller = std::thread::id();
    fTold.notify_all();
    return true;
}

void KVFrameSource::Private::setDemandHandler(DemandHandler handler) {
    {
        std::unique_lock lock(fMutex);
        fDemandHandler.swap(handler);
        for (auto& [name, stream] : fStreams) {
            stream.fToldWatchers = 0;
        }
        xWakeTeller();
        fTold.wait(lock, [this] {
            return fTeller == std::thread::id() || fTeller == std::this_thread::get_id();
        });
    }
    handler = nullptr;  // its captures are released without the lock
}

KVFrameSource::KVFrameSource() : fPrivate(std::make_shared<Private>()) {
}

KVFrameSource::~KVFrameSource() {
    fPrivate->close();
}

void KVFrameSource::addStream(const std::string& name) {
    const std::lock_guard lock(fPrivate->fMutex);
    if (name.empty() || !fPrivate->fStreams.try_emplace(name).second) {
        throw KVError(KVError::Cause::InvalidArgument,
                      name.empty() ? std::string("A camera needs a name.")
                                   : "There is already a camera named " + name + ".");
    }
}

void KVFrameSource::removeStream(const std::string& name) {
    std::map<std::string, Private::Stream>::node_type removed;  // released without the lock
    const std::lock_guard lock(fPrivate->fMutex);
    removed = fPrivate->fStreams.extract(name);
    if (!removed) {
        return;
    }
    for (Private::Watcher* watcher : removed.mapped().fWatchers) {
        watcher->streamRemoved();
    }
}

std::vector<std::string> KVFrameSource::getStreams() const {
    const std::lock_guard lock(fPrivate->fMutex);
    std::vector<std::string> names;
    names.reserve(fPrivate->fStreams.size());
    for (const auto& [name, stream] : fPrivate->fStreams) {
        names.push_back(name);
    }
    return names;
}

void KVFrameSource::publish(const std::string& stream, const KVFrame& frame) {
    checkFrame(frame);
    std::deque<KVFrame> replaced;  // released without the lock
    const std::lock_guard lock(fPrivate->fMutex);
    const auto found = fPrivate->fStreams.find(stream);
    if (found == fPrivate->fStreams.end()) {
        throw KVError(KVError::Cause::InvalidArgument, "There is no camera named " + stream + ".");
    }
    Private::Stream& frames = found->second;
    if (!frames.fChain.accepts(frame)) {
        frames.fIsKeyWanted = true;
        return;
    }
    if (frame.fFormat == KVPixelFormat::H264) {
        frames.fIsKeyWanted = frames.fIsKeyWanted && !frame.fIsKey;
    } else {
        replaced.swap(frames.fFrames);
    }
    frames.fFrames.push_back(frame);
    ++frames.fVersion;
    const auto isOld = [&] {
        const KVFrame& oldest = frames.fFrames.front();
        return oldest.fFormat != frame.fFormat || frames.fFrames.size() > a_mostKept ||
               frame.fTime - oldest.fTime > a_longestBacklog;
    };
    while (frames.fFrames.size() > 1 && isOld()) {
        replaced.push_back(std::move(frames.fFrames.front()));
        frames.fFrames.pop_front();
    }
    for (Private::Watcher* watcher : frames.fWatchers) {
        watcher->framePublished();
    }
}

bool KVFrameSource::takeKeyFrameRequest(const std::string& stream) {
    const auto now = std::chrono::steady_clock::now();
    const std::lock_guard lock(fPrivate->fMutex);
    const auto found = fPrivate->fStreams.find(stream);
    if (found == fPrivate->fStreams.end() || !found->second.fIsKeyWanted ||
        now - found->second.fKeyTaken < a_keyFrameDistance) {
        return false;
    }
    found->second.fIsKeyWanted = false;
    found->second.fKeyTaken = now;
    return true;
}

int KVFrameSource::getWatchers(const std::string& stream) const {
    const std::lock_guard lock(fPrivate->fMutex);
    const auto found = fPrivate->fStreams.find(stream);
    return found == fPrivate->fStreams.end() ? 0 : static_cast<int>(found->second.fWatchers.size());
}

void KVFrameSource::setDemandHandler(DemandHandler handler) {
    fPrivate->setDemandHandler(std::move(handler));
}

const std::shared_ptr<KVFrameSource::Private>& KVFrameSource::getPrivate() const {
    return fPrivate;
}
