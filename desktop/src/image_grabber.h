#ifndef OBVISTA_DESKTOP_IMAGE_GRABBER_H
#define OBVISTA_DESKTOP_IMAGE_GRABBER_H

#include <bonjour/bonjour_profile.h>

#include <QMap>
#include <QObject>
#include <QString>

#include <boost/shared_ptr.hpp>

namespace KD {

class HttpDownloadObject;

/**
 * Downloads the icons of robots into their profiles.
 *
 * Works from the event loop of the thread that made it. A download that fails is not tried again
 * before the next request.
 */
class ImageGrabber : public QObject {
    Q_OBJECT

  public Q_SLOTS:
    /** Starts the download of the icon of the robot at `IP`; without an address it does nothing. */
    void onAskForImage(const QString& IP, const boost::shared_ptr<KV::BonjourProfile>& profile);

    /** Stores what the sending download has brought, if anything, and disposes of the download. */
    void onDownloadFinished(bool success);

  private:
    QMap<HttpDownloadObject*, boost::shared_ptr<KV::BonjourProfile>> fDownloads;
};

}  // namespace KD

#endif
