#ifndef OBVISTA_ROBOT_PROGRAM_H
#define OBVISTA_ROBOT_PROGRAM_H

namespace robot {

/** The whole program. @return its exit status */
int runProgram(int argc, char** argv);

}  // namespace robot

#endif
