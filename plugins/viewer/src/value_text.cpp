#include <obvista/viewer/value_text.h>

#include <QLocale>

#include <algorithm>
#include <cmath>
#include <limits>

namespace obvista {

namespace {

constexpr int a_significantDigits = 6;
/**
 * Numbers from this one on are shown with an exponent; below it a double still has all its digits.
 */
constexpr double a_largestPlainNumber = 1e15;
constexpr int a_maxNesting = 8;
constexpr int a_maxBytesShown = 16;

enum class Digits { Readable, Exact };

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

/** A line that one value, and those inside it, are written into. */
class ValueLine {
  public:
    ValueLine(int maxLength, Digits digits) : fLine(maxLength), fDigits(digits) {}

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
        fLine.appendSafely(text, quotes);
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
    Digits fDigits;
};

QString writtenValue(const KVValue& value, int maxLength, Digits digits) {
    ValueLine line(maxLength, digits);
    line.write(value);
    return line.text();
}

}  // namespace

QString valueText(const KVValue& value, int maxLength) {
    return writtenValue(value, maxLength, Digits::Readable);
}

QString exactValueText(const KVValue& value, int maxLength) {
    return writtenValue(value, maxLength, Digits::Exact);
}

QString countText(qulonglong count) {
    constexpr int group = 3;
    QString text = QString::number(count);
    for (int i = text.size() - group; i > 0; i -= group) {
        text.insert(i, QChar(0x202F));
    }
    return text;
}

QString clockText(qint64 seconds) {
    constexpr qint64 minute = 60;
    constexpr qint64 hour = 60 * minute;
    const QString rest =
        QStringLiteral("%1:%2")
            .arg(seconds % hour / minute, seconds >= hour ? 2 : 1, 10, QLatin1Char('0'))
            .arg(seconds % minute, 2, 10, QLatin1Char('0'));
    return seconds >= hour ? QStringLiteral("%1:%2").arg(seconds / hour).arg(rest) : rest;
}

QString sizeText(qint64 bytes) {
    return QLocale::c().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

int pluralOf(qulonglong count) {
    constexpr qulonglong most = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(count, most));
}

}  // namespace obvista
