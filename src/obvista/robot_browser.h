#ifndef OBVISTA_ROBOT_BROWSER_H
#define OBVISTA_ROBOT_BROWSER_H

#include "browserobots_dialog.h"
#include "robot_choice.h"

/** The robot browser as the main window's dialog for choosing a robot. GUI thread only. */
class RobotBrowser : public RobotChoice {
  public:
    /** @param mediaFolder with a trailing separator */
    RobotBrowser(QWidget* parent, const QString& mediaFolder)
        : fDialog(parent, mediaFolder, QLatin1String("")) {}

    int exec() override { return fDialog.exec(); }
    bool getIPandPort(QString& ip, int& port) override { return fDialog.getIPandPort(ip, port); }
    bool refreshIP() override { return fDialog.refreshIP(); }

  private:
    KD::BrowseRobotsDialog fDialog;
};

#endif
