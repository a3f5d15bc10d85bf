#ifndef OBVISTA_BRIDGE_PROGRAM_H
#define OBVISTA_BRIDGE_PROGRAM_H

namespace bridge {

/** Runs the program robaxi-bridge; returns its exit status. */
int runProgram(int argc, char** argv);

}  // namespace bridge

#endif
