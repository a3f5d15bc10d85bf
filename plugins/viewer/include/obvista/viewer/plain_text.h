#ifndef OBVISTA_VIEWER_PLAIN_TEXT_H
#define OBVISTA_VIEWER_PLAIN_TEXT_H

#include <obvista/viewer/viewer_export.h>

#include <QString>

#include <string>

namespace obvista {

/** Maximum number of displayed characters (UTF-16 units) of a text or value, before an ellipsis. */
constexpr int a_maxTextLength = 1000;

/**
 * Returns a text from the robot as one line that is safe to show as plain text.
 *
 * Control characters, and others that are invisible or change the direction of what follows, are
 * escaped ("\n", "\x1b", "\u{202e}"), and so is the backslash, to distinguish them. Bytes that are
 * not UTF-8 become U+FFFD. The cost for a text of many megabytes is the same as for a short one.
 */
OBVISTA_VIEWER_EXPORT QString plainText(const std::string& utf8, int maxLength = a_maxTextLength);

enum class Quotes { None, Double };

/** A line with a maximum length. */
class OBVISTA_VIEWER_EXPORT BoundedText {
  public:
    /** @param maxLength in UTF-16 units; an ellipsis follows a cut text */
    explicit BoundedText(int maxLength) : fMaxLength(maxLength) {}

    bool isFull() const { return fIsFull; }  ///< Returns true if the limit is reached.

    void append(const QString& piece);  ///< Appends what fits
    /**
     * Appends a text from the robot, made safe as by plainText(); quotation marks are also escaped
     * with Quotes::Double. The caller adds the enclosing marks.
     */
    void appendSafely(const std::string& utf8, Quotes quotes);

    QString text() const;  ///< Returns the text, which is within the limit.

  private:
    QString fText;
    int fMaxLength;
    bool fIsFull = false;
};

}  // namespace obvista

#endif
