#ifndef OBVISTA_START_UP_H
#define OBVISTA_START_UP_H

namespace obvista {

/**
 * Runs the application, on the thread that becomes the GUI thread.
 *
 * A command line that cannot be parsed ends the process with status 1 from inside; a lost
 * connection that belongs to no docked plugin ends it with status 0.
 *
 * @return the exit status of the event loop, or 0 if it was not started
 */
int run(int argc, char** argv);

}  // namespace obvista

#endif
