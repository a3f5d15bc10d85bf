#ifndef OBVISTA_START_UP_H
#define OBVISTA_START_UP_H

namespace obvista {

/**
 * The whole life of the application, on the thread that becomes the GUI thread.
 *
 * A command line that cannot be parsed ends the process with status 1 from inside; so does, with
 * status 0, a lost connection that belongs to no docked plugin.
 *
 * @return the exit status: the event loop's, or 0 when there was none
 */
int run(int argc, char** argv);

}  // namespace obvista

#endif
