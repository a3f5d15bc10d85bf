#ifndef OBVISTA_PLUGIN_LOADER_H
#define OBVISTA_PLUGIN_LOADER_H

#include <QLabel>
#include <QList>
#include <QPixmap>
#include <QRect>
#include <QSize>
#include <QString>

#include <boost/shared_ptr.hpp>

/** A zone of the launcher picture that loads a plugin when clicked. */
class Plugin {
  public:
    Plugin(const QRect& zone, const QString& background, const QString& pluginName);
    virtual ~Plugin();

    QRect fZone;          ///< in pixels of the picture
    QString fBackground;  ///< picture with the zone highlighted, relative to the media folder
    QString fPluginName;
};

/**
 * The launcher: a picture with zones that load plugins, shown while no plugin is docked.
 *
 * The picture depends on the mouse: over a zone, the zone is highlighted. If a picture cannot be
 * read, the label is empty without a message; the zones still work. GUI thread only.
 */
class PluginLoader : public QLabel {
    Q_OBJECT
  public:
    /** @param mediaFolder with a trailing separator: file names are appended to it */
    PluginLoader(const QString& mediaFolder, QWidget* parent);

    /** Returns the size of the launcher picture; 0 by 0 if there is none. */
    QSize pictureSize() const { return fPictureSize; }

    /** Shows another picture of the media folder, unless it was the last one requested. */
    void xSetBackground(const QString& fileName);

    static const QString fBackground;
    static const QString fBackgroundMemory;
    static const QString fBackgroundVision;

  Q_SIGNALS:
    /** Emitted when a picture has been read; the label shows it. */
    void bitmapChanged(const QPixmap& pixmap);
    /** Emitted when a zone was clicked, with any button. */
    void loadPlugin(const QString& pluginName);

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

  private:
    QPixmap xPicture(const QString& fileName) const;
    boost::shared_ptr<Plugin> xZoneAt(const QPoint& position) const;

    QList<boost::shared_ptr<Plugin>> fZones;
    QString fShownBackground;  // empty until the mouse moves, though a picture is shown
    QString fMediaFolder;
    QSize fPictureSize;
};

#endif
