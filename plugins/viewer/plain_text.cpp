#include "plain_text.h"

#include <QChar>

#include <algorithm>

namespace viewer {

namespace {

bool isEscaped(uint character) {
    constexpr uint zeroWidthNonJoiner = 0x200C;
    constexpr uint zeroWidthJoiner = 0x200D;
    switch (QChar::category(character)) {
        case QChar::Other_Control:
        case QChar::Separator_Line:
        case QChar::Separator_Paragraph:
            return true;
        case QChar::Other_Format:
            // The joiners are part of ordinary words and pictures and hide nothing.
            return character != zeroWidthNonJoiner && character != zeroWidthJoiner;
        default:
            return false;
    }
}

/** In ASCII, since few fonts have pictures of control characters. */
QString escapedCharacter(uint character) {
    switch (character) {
        case '\n':
            return QStringLiteral("\\n");
        case '\r':
            return QStringLiteral("\\r");
        case '\t':
            return QStringLiteral("\\t");
        default:
            break;
    }
    constexpr uint firstOfFourDigits = 0x100;
    const QString digits = QString::number(character, 16);
    return character < firstOfFourDigits ? QStringLiteral("\\x%1").arg(digits, 2, QLatin1Char('0'))
                                         : QStringLiteral("\\u{%1}").arg(digits);
}

QString visibleCharacter(uint character, Quotes quotes) {
    if (character == '\\' || (character == '"' && quotes == Quotes::Double)) {
        return QLatin1Char('\\') + QString(QChar(character));
    }
    return isEscaped(character) ? escapedCharacter(character) : QString::fromUcs4(&character, 1);
}

}  // namespace

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
    // No character of UTF-16 takes more than three bytes of UTF-8, so this many bytes fill a line.
    const std::size_t enough = 3 * (static_cast<std::size_t>(fMaxLength) + 2);
    const QString text =
        QString::fromUtf8(utf8.data(), static_cast<int>(std::min(utf8.size(), enough)));
    for (int i = 0; i < text.size() && !fIsFull; ++i) {
        uint character = text.at(i).unicode();
        if (text.at(i).isHighSurrogate() && i + 1 < text.size()) {
            character = QChar::surrogateToUcs4(text.at(i), text.at(i + 1));
            ++i;
        }
        append(visibleCharacter(character, quotes));
    }
}

QString BoundedText::text() const {
    return fIsFull ? fText + QChar(0x2026) : fText;
}

QString plainText(const std::string& utf8, int maxLength) {
    BoundedText line(maxLength);
    line.appendSafely(utf8, Quotes::None);
    return line.text();
}

}  // namespace viewer
