#ifndef OBVISTA_TOOLS_ROBAXI_PROCESS_CONSOLE_H
#define OBVISTA_TOOLS_ROBAXI_PROCESS_CONSOLE_H

#include <mutex>
#include <string>

namespace robaxi_tool {

/** Where results and remarks go. May be used from any thread. */
class Console {
  public:
    enum class Color { Never, Auto };
    enum class Paint { Green, Yellow, Red, Dim };

    /** Writes to two open file descriptors, which it does not own. */
    Console(int output, int errors);
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    /** Auto, the default, means colours on a terminal, unless NO_COLOR is set. */
    void setColor(Color color);
    /** Whether a person reads the results directly. */
    bool isTerminal() const;
    /** The text in a colour, or as it is. */
    std::string painted(Paint paint, const std::string& text) const;

    /**
     * Writes results, at once and as a whole. The caller has made texts from the network safe.
     *
     * @throws ReaderGone when nobody reads any more; Failure when it cannot be written
     */
    void print(const std::string& text);

    /** Writes one line to standard error: "robaxi: " and the sentence, made safe for a terminal. */
    void complain(const std::string& sentence);

  private:
    int fOutput;
    int fErrors;
    bool fPaints;
    std::mutex fMutex;  ///< keeps what two threads print apart
};

/**
 * Writes every byte, and waits where a reader is slow, also when whoever started the program made
 * the descriptor one that does not block.
 *
 * @return 0, or the number of the error
 */
int writeAll(int descriptor, const std::string& bytes);

}  // namespace robaxi_tool

#endif
