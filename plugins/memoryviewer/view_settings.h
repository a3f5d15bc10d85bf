#ifndef OBVISTA_MEMORYVIEWER_VIEW_SETTINGS_H
#define OBVISTA_MEMORYVIEWER_VIEW_SETTINGS_H

#include <QSettings>
#include <QString>
#include <QVariant>

#include <string>

namespace memoryviewer {

/** What the memory viewer remembers: the form of the view for all robots, and what is watched and
 *  plotted for each robot by the name that it reports. */
class ViewSettings {
  public:
    /** @param robotName untrusted */
    explicit ViewSettings(const std::string& robotName);

    QVariant value(const char* name, const QVariant& otherwise = {}) const;
    void setValue(const char* name, const QVariant& value);
    QVariant robotValue(const char* name) const;
    void setRobotValue(const char* name, const QVariant& value);

  private:
    QSettings fSettings;
    QString fRobotGroup;
};

}  // namespace memoryviewer

#endif
