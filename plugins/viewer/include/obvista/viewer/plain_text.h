#ifndef OBVISTA_VIEWER_PLAIN_TEXT_H
#define OBVISTA_VIEWER_PLAIN_TEXT_H

#include <obvista/viewer/viewer_export.h>

#include <QString>

#include <string>

namespace obvista {

/** Most characters (UTF-16 units) that are shown of any one text or value; an ellipsis follows. */
constexpr int a_maxTextLength = 1000;

/**
 * A text from the robot as one line that is safe to show as plain text.
 *
 * Control characters, and others that are invisible or change the direction of what follows, are
 * escaped ("\n", "\x1b", "\u{202e}"), and so is the backslash, to distinguish them. Bytes that are
 * not UTF-8 become U+FFFD. It costs no more for a text of many megabytes than for a short one.
 */
OBVISTA_VIEWER_EXPORT QString plainText(const std::string& utf8, int maxLength = a_maxTextLength);

enum class Quotes { None, Double };

/** A line that takes text until it is full. */
class OBVISTA_VIEWER_EXPORT BoundedText {
  public:
    /** @param maxLength in UTF-16 units; an ellipsis follows what was cut */
    explicit BoundedText(int maxLength) : fMaxLength(maxLength) {}

    bool isFull() const { return fIsFull; }

    void append(const QString& piece);
    /** Appends a text from the robot as plainText() makes it safe; a quotation mark is escaped too
     *  where it stands between double ones. The marks themselves are the caller's. */
    void appendSafely(const std::string& utf8, Quotes quotes);

    QString text() const;

  private:
    QString fText;
    int fMaxLength;
    bool fIsFull = false;
};

}  // namespace obvista

#endif
