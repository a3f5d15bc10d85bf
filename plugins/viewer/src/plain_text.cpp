#include <base/safe_text.h>
#include <obvista/viewer/plain_text.h>

#include <QChar>

namespace obvista {

void BoundedText::append(const QString& piece) {
    if (fIsFull) {
        return;
    }
    const int room = fMaxLength - fText.size();
    if (piece.size() <= room) {
        fText += piece;
        return;
    }
    const bool splitsPair = room > 0 && piece.at(room - 1).isHighSurrogate();
    fText += piece.leftRef(splitsPair ? room - 1 : room);
    fIsFull = true;
}

void BoundedText::appendSafely(const std::string& utf8, Quotes quotes) {
    if (fIsFull) {
        return;
    }
    // A UTF-16 unit takes at most three bytes of UTF-8, so this many bytes fill a line.
    const std::size_t enough = 3 * (static_cast<std::size_t>(fMaxLength) + 2);
    append(QString::fromStdString(base::reversibleLine(
        base::beginning(utf8, enough),
        quotes == Quotes::Double ? base::Quotes::Double : base::Quotes::None)));
}

QString BoundedText::text() const {
    return fIsFull ? fText + QChar(0x2026) : fText;
}

QString plainText(const std::string& utf8, int maxLength) {
    BoundedText line(maxLength);
    line.appendSafely(utf8, Quotes::None);
    return line.text();
}

}  // namespace obvista
