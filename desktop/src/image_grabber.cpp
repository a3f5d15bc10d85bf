#include "image_grabber.h"

#include "http/http_download_object.h"

#include <robaxi/kv_value.h>

#include <exception>

namespace KD {

namespace {

// Together these have a doubled slash, which is part of the path under which robots serve their
// icon.
const char* const a_addressTemplate = "http://%1/%2";
const char* const a_iconPath = "/media/buddy.icon";

void storeImage(HttpDownloadObject* download,
                const boost::shared_ptr<KV::BonjourProfile>& profile) {
    try {
        const QByteArray image = download->fFile.readAll();
        if (!image.isEmpty()) {
            KVValue value;
            value.SetBinary(image.constData(), image.size());
            profile->setBitmapBinary(value);
        }
    } catch (const std::exception&) {
        // The robot is shown without an icon; errors are not reported.
    }
}

}  // namespace

void ImageGrabber::onAskForImage(const QString& IP,
                                 const boost::shared_ptr<KV::BonjourProfile>& profile) {
    if (IP.isEmpty()) {
        return;
    }
    const QString address =
        QString::fromLatin1(a_addressTemplate).arg(IP).arg(QLatin1String(a_iconPath));
    auto* download = new HttpDownloadObject(address, this);
    fDownloads.insert(download, profile);
    connect(download, &HttpDownloadObject::finished, this, &ImageGrabber::onDownloadFinished);
}

void ImageGrabber::onDownloadFinished(bool success) {
    auto* download = qobject_cast<HttpDownloadObject*>(sender());
    const auto entry = fDownloads.find(download);
    if (download == nullptr || entry == fDownloads.end()) {
        return;
    }
    if (success) {
        storeImage(download, entry.value());
    }
    download->deleteLater();
    fDownloads.erase(entry);
}

}  // namespace KD
