#ifndef OBVISTA_ROBOT_CHOICE_H
#define OBVISTA_ROBOT_CHOICE_H

#include <QString>

/** Interface of the dialog in which the user chooses a robot. GUI thread only. */
class RobotChoice {
  public:
    RobotChoice() = default;
    virtual ~RobotChoice() = default;

    RobotChoice(const RobotChoice&) = delete;
    RobotChoice& operator=(const RobotChoice&) = delete;

    /** Runs the dialog in a nested event loop. Returns 0 if the user cancelled. */
    virtual int exec() = 0;

    /** Returns the choice. False, with both arguments unchanged, if there is none. */
    virtual bool getIPandPort(QString& ip, int& port) = 0;

    /** Looks up the chosen robot's address again. Returns false if that is not possible. */
    virtual bool refreshIP() = 0;
};

#endif
