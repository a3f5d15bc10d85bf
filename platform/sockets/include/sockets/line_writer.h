#ifndef OBVISTA_SOCKETS_LINE_WRITER_H
#define OBVISTA_SOCKETS_LINE_WRITER_H

#include <string>

namespace sockets {

/**
 * Writes a line to an open file, whole and at once. It is dropped when nobody reads what was
 * written before, so that a program that serves others never waits for the reader of its output.
 * May be called from any thread.
 *
 * @param line shorter than what a pipe takes when it is ready (4096 bytes)
 */
void writeLine(int file, const std::string& line);

}  // namespace sockets

#endif
