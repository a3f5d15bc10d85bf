#ifndef OBVISTA_TOOLS_ROBAXI_PROCESS_CONSOLE_H
#define OBVISTA_TOOLS_ROBAXI_PROCESS_CONSOLE_H

#include <mutex>
#include <string>
#include <string_view>

namespace robaxi_tool {

/** Output of results and messages. May be used from any thread. */
class Console {
  public:
    enum class Color { Never, Auto };
    enum class Paint { Green, Yellow, Red, Dim };

    /** Writes to two open file descriptors, which remain the caller's. */
    Console(int output, int errors);
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    /**
     * Sets the colour mode. Auto, the default, uses colours on a terminal unless NO_COLOR is set.
     */
    void setColor(Color color);
    /** Returns true if the results are shown on a terminal. */
    bool isTerminal() const;
    /** Returns the text in a colour, or unchanged. */
    std::string painted(Paint paint, const std::string& text) const;

    /**
     * Writes results immediately and completely. The caller has made texts from the network safe.
     *
     * @throws ReaderGone if the reader has closed; Failure if writing fails
     */
    void print(const std::string& text);

    /** Writes one line to standard error: "robaxi: " and the sentence, made safe for a terminal. */
    void complain(const std::string& sentence);

  private:
    int fOutput;
    int fErrors;
    bool fPaints;
    std::mutex fMutex;  ///< serialises the output of several threads
};

/**
 * Writes every byte. Waits for a slow reader, even if the parent process made the descriptor
 * non-blocking.
 *
 * @return 0, or the error number
 */
int writeWaiting(int descriptor, std::string_view bytes);

}  // namespace robaxi_tool

#endif
