#ifndef OBVISTA_VIEWER_ROBOT_SETTINGS_H
#define OBVISTA_VIEWER_ROBOT_SETTINGS_H

#include <obvista/viewer/viewer_export.h>

#include <QSettings>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <string>

namespace obvista {

/**
 * Settings of one viewer for one robot, identified by the name that the robot reports.
 *
 * They are stored in the application's settings under "<viewer>/robots/<robot>/". A new value is
 * available at once to every other viewer in the process, and in the file after the next turn of
 * the event loop. The file is replaced as a whole, so that a crash leaves either the old or the new
 * one. Used on the GUI thread.
 */
class OBVISTA_VIEWER_EXPORT RobotSettings {
  public:
    /**
     * @param viewer a level of the settings, for instance "MemoryViewer"
     * @param robotName untrusted
     */
    RobotSettings(const QString& viewer, const std::string& robotName);

    QVariant value(const QString& name, const QVariant& otherwise = {}) const;  ///< Reads a setting
    void setValue(const QString& name, const QVariant& value);                  ///< Writes one

    /**
     * Sets the values of a viewer that differ from those that it has loaded or set before. The
     * others stay, since another viewer of the robot, in this process or another, may have set
     * them.
     */
    void setChanged(const QVariantMap& before, const QVariantMap& values);

    /**
     * Returns an untrusted text as one level of a name: unique for each text, not empty, without
     * slashes, and not longer than 100 characters.
     */
    static QString level(const std::string& text);

  private:
    QSettings fSettings;
    QString fGroup;
};

}  // namespace obvista

#endif
