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
 * It runs in the event loop of the thread that created it. A failed download is repeated only by
 * the next request.
 */
class ImageGrabber : public QObject {
    Q_OBJECT

  public Q_SLOTS:
    /** Starts the download of the icon of the robot at `IP`; does nothing without an address. */
    void onAskForImage(const QString& IP, const boost::shared_ptr<KV::BonjourProfile>& profile);

    /**
     * Stores the result of the download that sent the signal, if there is one, and deletes the
     * download.
     */
    void onDownloadFinished(bool success);

  private:
    QMap<HttpDownloadObject*, boost::shared_ptr<KV::BonjourProfile>> fDownloads;
};

}  // namespace KD

#endif
