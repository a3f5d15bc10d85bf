#ifndef OBVISTA_ROBOT_CHOICE_H
#define OBVISTA_ROBOT_CHOICE_H

#include <QString>

/** What the main window needs of the dialog in which the user chooses a robot. GUI thread only. */
class RobotChoice {
  public:
    RobotChoice() = default;
    virtual ~RobotChoice() = default;

    RobotChoice(const RobotChoice&) = delete;
    RobotChoice& operator=(const RobotChoice&) = delete;

    /** Lets the user choose, in an event loop of its own. 0 when the user cancelled. */
    virtual int exec() = 0;

    /** The choice. False, with both arguments untouched, when there is none. */
    virtual bool getIPandPort(QString& ip, int& port) = 0;

    /** Looks the chosen robot's address up again. False when that is not possible. */
    virtual bool refreshIP() = 0;
};

#endif
