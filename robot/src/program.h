#ifndef OBVISTA_ROBOT_PROGRAM_H
#define OBVISTA_ROBOT_PROGRAM_H

namespace robot {

/** Runs the program. @return its exit status */
int runProgram(int argc, char** argv);

}  // namespace robot

#endif
