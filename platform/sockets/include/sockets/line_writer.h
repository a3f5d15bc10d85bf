#ifndef OBVISTA_SOCKETS_LINE_WRITER_H
#define OBVISTA_SOCKETS_LINE_WRITER_H

#include <string>

namespace sockets {

/**
 * Writes a line to an open file in one piece without blocking. The line is dropped if the reader
 * has not read earlier output, so that a server never waits for it. May be called from any thread.
 *
 * @param line shorter than the capacity of a pipe that is ready (4096 bytes)
 */
void writeLine(int file, const std::string& line);

}  // namespace sockets

#endif
