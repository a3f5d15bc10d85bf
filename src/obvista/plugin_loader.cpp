#include "plugin_loader.h"

#include <QGuiApplication>
#include <QIcon>
#include <QMouseEvent>

#include <boost/make_shared.hpp>

#include <algorithm>

const QString PluginLoader::fBackground = QStringLiteral("background/interface.png");
const QString PluginLoader::fBackgroundMemory = QStringLiteral("background/interface_memory.png");
const QString PluginLoader::fBackgroundVision = QStringLiteral("background/interface_camera.png");

Plugin::Plugin(const QRect& zone, const QString& background, const QString& pluginName)
    : fZone(zone), fBackground(background), fPluginName(pluginName) {
}

Plugin::~Plugin() = default;

PluginLoader::PluginLoader(const QString& mediaFolder, QWidget* parent)
    : QLabel(parent), fMediaFolder(mediaFolder) {
    fZones += boost::make_shared<Plugin>(QRect(QPoint(310, 175), QPoint(399, 199)),
                                         fBackgroundMemory, QStringLiteral("memoryviewer"));
    fZones += boost::make_shared<Plugin>(QRect(QPoint(310, 210), QPoint(399, 234)),
                                         fBackgroundVision, QStringLiteral("cameraviewer"));
    setMouseTracking(true);
    setAccessibleName(tr("Launcher"));
    connect(this, &PluginLoader::bitmapChanged, this, &PluginLoader::setPixmap);

    const QPixmap picture = xPicture(fBackground);
    setPixmap(picture);
    Q_EMIT bitmapChanged(picture);
    fPictureSize = picture.size() / picture.devicePixelRatio();
    setFixedSize(fPictureSize);

    setAlignment(Qt::AlignCenter);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    setScaledContents(false);
}

void PluginLoader::xSetBackground(const QString& fileName) {
    if (fileName == fShownBackground) {
        return;
    }
    fShownBackground = fileName;
    Q_EMIT bitmapChanged(xPicture(fileName));
    update();
}

/**
 * Returns a picture with the resolution of the screen, since Qt does not smooth one that it scales.
 * It has the same size and zones in every resolution.
 */
QPixmap PluginLoader::xPicture(const QString& fileName) const {
    const QString path = fMediaFolder + fileName;
    const QPixmap picture(path);
    // The icon has the picture from the file "@2x", too.
    return qApp->devicePixelRatio() > 1 ? QIcon(path).pixmap(picture.size()) : picture;
}

void PluginLoader::mousePressEvent(QMouseEvent* event) {
    if (const boost::shared_ptr<Plugin> zone = xZoneAt(event->pos())) {
        Q_EMIT loadPlugin(zone->fPluginName);
    }
}

void PluginLoader::mouseMoveEvent(QMouseEvent* event) {
    const boost::shared_ptr<Plugin> zone = xZoneAt(event->pos());
    xSetBackground(zone ? zone->fBackground : fBackground);
}

boost::shared_ptr<Plugin> PluginLoader::xZoneAt(const QPoint& position) const {
    const auto zone = std::find_if(fZones.cbegin(), fZones.cend(),
                                   [&position](const boost::shared_ptr<Plugin>& candidate) {
                                       return candidate->fZone.contains(position);
                                   });
    return zone == fZones.cend() ? boost::shared_ptr<Plugin>() : *zone;
}
