#ifndef OBVISTA_VIEWER_PLAIN_TEXT_H
#define OBVISTA_VIEWER_PLAIN_TEXT_H

#include <obvista/viewer/viewer_export.h>

#include <QString>

#include <string>

namespace obvista {

/** Maximum number of displayed characters (UTF-16 units) of a text or value, without the ellipsis
 *  that follows a text that is cut. */
constexpr int a_maxTextLength = 1000;

/**
 * Returns a text from the robot as one line that is safe to show as plain text.
 *
 * Control characters, and others that are invisible or change the direction of what follows, are
 * escaped ("\n", "\x1b", "\u{202e}"), and so is the backslash, to distinguish them. Bytes that are
 * not UTF-8 become U+FFFD. The cost for a text of many megabytes is the same as for a short one.
 *
 * @param utf8 the text, in UTF-8
 * @param maxLength UTF-16 units of the result; an ellipsis follows a text that is cut
 */
OBVISTA_VIEWER_EXPORT QString plainText(const std::string& utf8, int maxLength = a_maxTextLength);

/** Quotation marks that BoundedText::appendSafely() escapes. */
enum class Quotes {
    None,
    Double  ///< each " becomes \"
};

/** A line with a maximum length, of pieces that are appended. */
class OBVISTA_VIEWER_EXPORT BoundedText {
  public:
    /** @param maxLength in UTF-16 units, without the ellipsis that follows a text that is cut */
    explicit BoundedText(int maxLength) : fMaxLength(maxLength) {}

    /** Returns true if a piece did not fit and was cut; further ones are ignored. */
    bool isFull() const { return fIsFull; }

    /** Appends a text that is safe already, or its beginning if it does not fit. */
    void append(const QString& piece);
    /**
     * Appends a text from the robot, made safe as by plainText(), or its beginning if it does not
     * fit.
     *
     * @param utf8 the text, in UTF-8
     * @param quotes the quotation marks to escape; the caller adds the enclosing ones
     */
    void appendSafely(const std::string& utf8, Quotes quotes);

    QString text() const;  ///< Returns the line, with an ellipsis at its end if it was cut.

  private:
    QString fText;
    int fMaxLength;
    bool fIsFull = false;
};

}  // namespace obvista

#endif
