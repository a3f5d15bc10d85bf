#include "video_client.h"

#include <obvista/viewer/notice.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>

#include <memory>
#include <utility>

namespace cameraviewer {

namespace {

/** Time-out of a call in seconds: a camera that changes its settings may have to restart. */
constexpr double a_callTimeOut = 5;

}  // namespace

VideoClient::VideoClient(const std::shared_ptr<KVConnection>& connection, obvista::Notice& notice)
    : fVideo(std::make_unique<KVProxy>(a_videoModule, connection, a_callTimeOut)),
      fNotice(notice),
      fThread([this] { xRun(); }) {
}

VideoClient::~VideoClient() {
    stop();
}

void VideoClient::listCameras() {
    const std::lock_guard<std::mutex> lock(fMutex);
    fIsListWanted = true;
    fWork.notify_one();
}

void VideoClient::changeSettings(const std::string& camera,
                                 const picture::CameraSettings& settings) {
    const std::lock_guard<std::mutex> lock(fMutex);
    fWishes[camera] = settings;
    fWork.notify_one();
}

VideoAnswers VideoClient::take() {
    const std::lock_guard<std::mutex> lock(fMutex);
    return std::exchange(fAnswers, VideoAnswers());
}

void VideoClient::stop() {
    if (!fThread.joinable()) {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fIsStopped = true;
        fWork.notify_one();
    }
    fVideo->close();
    fThread.join();
    fVideo.reset();
}

void VideoClient::xRun() {
    std::unique_lock<std::mutex> lock(fMutex);
    for (;;) {
        fWork.wait(lock, [this] { return fIsStopped || fIsListWanted || !fWishes.empty(); });
        if (fIsStopped) {
            return;
        }
        // Changes first: the list requested afterwards then contains the new settings.
        if (!fWishes.empty()) {
            const auto wish = fWishes.extract(fWishes.begin());
            lock.unlock();
            xChangeSettings(wish.key(), wish.mapped());
        } else {
            fIsListWanted = false;
            lock.unlock();
            xListCameras();
        }
        lock.lock();
    }
}

void VideoClient::xListCameras() {
    VideoAnswers answers;
    try {
        answers.fCameras = picture::readCameras(fVideo->callValue("getCameras", {}));
    } catch (const KVError& error) {
        answers.fFailure = error;
    }
    xAnswer(std::move(answers));
}

void VideoClient::xChangeSettings(const std::string& camera,
                                  const picture::CameraSettings& settings) {
    VideoAnswers answers;
    VideoAnswers::Change change;
    change.fCamera = camera;
    change.fWish = settings;
    try {
        change.fSettings = picture::readSettings(
            fVideo->callValue("setSettings", {KVValue(camera), settings.toValue()}));
    } catch (const KVError& error) {
        change.fRefusal = error;
    }
    answers.fChanges.push_back(std::move(change));
    xAnswer(std::move(answers));
}

void VideoClient::xAnswer(VideoAnswers answers) {
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        if (answers.fCameras || answers.fFailure) {
            fAnswers.fCameras = std::move(answers.fCameras);
            fAnswers.fFailure = answers.fFailure;
        }
        for (VideoAnswers::Change& change : answers.fChanges) {
            fAnswers.fChanges.push_back(std::move(change));
        }
    }
    fNotice.give();
}

}  // namespace cameraviewer
