#include "value_text.h"

#include <QChar>
#include <QLocale>

#include <algorithm>
#include <cmath>

namespace memoryviewer {

namespace {

constexpr int a_significantDigits = 6;
/** Numbers from here on are shown with an exponent; a double still has all digits below it. */
constexpr double a_largestPlainNumber = 1e15;
constexpr int a_maxNesting = 8;
constexpr int a_maxBytesShown = 16;

enum class Digits { Readable, Exact };
enum class Quotes { None, Double };

/** A line that takes text until it is full. */
class BoundedText {
  public:
    explicit BoundedText(int maxLength) : fMaxLength(maxLength) {}

    bool isFull() const { return fIsFull; }

    void append(const QString& piece) {
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

    QString text() const { return fIsFull ? fText + QChar(0x2026) : fText; }

  private:
    QString fText;
    int fMaxLength;
    bool fIsFull = false;
};

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

void appendString(BoundedText& line, const std::string& utf8, int maxLength, Quotes quotes) {
    // No character of UTF-16 takes more than three bytes of UTF-8, so this many bytes fill a line.
    const std::size_t enough = 3 * (static_cast<std::size_t>(maxLength) + 2);
    const QString text =
        QString::fromUtf8(utf8.data(), static_cast<int>(std::min(utf8.size(), enough)));
    for (int i = 0; i < text.size() && !line.isFull(); ++i) {
        uint character = text.at(i).unicode();
        if (text.at(i).isHighSurrogate() && i + 1 < text.size()) {
            character = QChar::surrogateToUcs4(text.at(i), text.at(i + 1));
            ++i;
        }
        line.append(visibleCharacter(character, quotes));
    }
}

QString floatText(double value, Digits digits) {
    if (std::isnan(value)) {
        return QStringLiteral("NaN");
    }
    if (std::isinf(value)) {
        return value > 0 ? QStringLiteral("inf") : QStringLiteral("-inf");
    }
    if (digits == Digits::Exact) {
        return QString::number(value, 'g', QLocale::FloatingPointShortest);
    }
    const double whole = std::round(std::fabs(value));
    int significant = a_significantDigits;
    if (whole >= 1 && whole < a_largestPlainNumber) {
        significant = std::max(significant, static_cast<int>(std::log10(whole)) + 1);
    }
    return QString::number(value, 'g', significant);
}

QString binaryText(const KVValue& value) {
    const auto* bytes = static_cast<const unsigned char*>(value.GetBinary());
    const int size = value.getSize();
    const int shown = std::min(size, a_maxBytesShown);
    QString text = size == 1 ? QStringLiteral("1 byte") : QStringLiteral("%1 bytes").arg(size);
    for (int i = 0; i < shown; ++i) {
        text += i == 0 ? QStringLiteral(": ") : QStringLiteral(" ");
        text += QStringLiteral("%1").arg(uint(bytes[i]), 2, 16, QLatin1Char('0'));
    }
    return shown < size ? text + QStringLiteral(" \u2026") : text;
}

/** Writes one value, and those inside it, into a line. */
class ValueWriter {
  public:
    ValueWriter(int maxLength, Digits digits)
        : fLine(maxLength), fMaxLength(maxLength), fDigits(digits) {}

    QString text() const { return fLine.text(); }

    void write(const KVValue& value, Quotes quotes = Quotes::None, int nesting = 0) {
        switch (value.type()) {
            case KVValue::Type::Nothing:
                fLine.append(quotes == Quotes::None ? QString() : QStringLiteral("nothing"));
                break;
            case KVValue::Type::Bool:
                fLine.append(value.toBool() ? QStringLiteral("true") : QStringLiteral("false"));
                break;
            case KVValue::Type::Int:
                fLine.append(QString::number(static_cast<qlonglong>(value.toInt())));
                break;
            case KVValue::Type::Float:
                fLine.append(floatText(value.toFloat(), fDigits));
                break;
            case KVValue::Type::String:
                xWriteString(value.toString(), quotes);
                break;
            case KVValue::Type::Binary:
                fLine.append(binaryText(value));
                break;
            case KVValue::Type::List:
                xWriteList(value.toList(), nesting);
                break;
            case KVValue::Type::Map:
                xWriteMap(value.toMap(), nesting);
                break;
        }
    }

  private:
    void xWriteString(const std::string& text, Quotes quotes) {
        const QString quote = quotes == Quotes::None ? QString() : QStringLiteral("\"");
        fLine.append(quote);
        appendString(fLine, text, fMaxLength, quotes);
        fLine.append(quote);
    }

    void xWriteList(const KVValue::List& list, int nesting) {
        fLine.append(QStringLiteral("["));
        xWriteElements(list, nesting, [this](const KVValue& element, int inner) {
            write(element, Quotes::Double, inner);
        });
        fLine.append(QStringLiteral("]"));
    }

    void xWriteMap(const KVValue::Map& map, int nesting) {
        fLine.append(QStringLiteral("{"));
        xWriteElements(map, nesting, [this](const KVValue::Map::value_type& entry, int inner) {
            xWriteString(entry.first, Quotes::Double);
            fLine.append(QStringLiteral(": "));
            write(entry.second, Quotes::Double, inner);
        });
        fLine.append(QStringLiteral("}"));
    }

    template <class Container, class WriteElement>
    void xWriteElements(const Container& elements, int nesting, WriteElement writeElement) {
        if (nesting >= a_maxNesting && !elements.empty()) {
            fLine.append(QStringLiteral("\u2026"));
            return;
        }
        bool isFirst = true;
        for (const auto& element : elements) {
            if (fLine.isFull()) {
                return;
            }
            fLine.append(isFirst ? QString() : QStringLiteral(", "));
            isFirst = false;
            writeElement(element, nesting + 1);
        }
    }

    BoundedText fLine;
    int fMaxLength;
    Digits fDigits;
};

QString writtenValue(const KVValue& value, int maxLength, Digits digits) {
    ValueWriter writer(maxLength, digits);
    writer.write(value);
    return writer.text();
}

}  // namespace

QString plainText(const std::string& utf8, int maxLength) {
    BoundedText line(maxLength);
    appendString(line, utf8, maxLength, Quotes::None);
    return line.text();
}

QString valueText(const KVValue& value, int maxLength) {
    return writtenValue(value, maxLength, Digits::Readable);
}

QString exactValueText(const KVValue& value, int maxLength) {
    return writtenValue(value, maxLength, Digits::Exact);
}

}  // namespace memoryviewer
