#include "editing/value_entry.h"

#include <obvista/viewer/value_text.h>

#include <QCoreApplication>
#include <QLocale>

#include <cmath>
#include <limits>

namespace memoryviewer {

namespace {

/** The texts of this file in the catalogues of translations. */
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(memoryviewer::ValueEntry)
};

Entry refused(const QString& problem) {
    return {std::nullopt, problem};
}

Entry readBool(const QString& text) {
    if (text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 ||
        text == QLatin1String("1")) {
        return {KVValue(true), QString()};
    }
    if (text.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0 ||
        text == QLatin1String("0")) {
        return {KVValue(false), QString()};
    }
    return refused(Texts::tr("Enter true or false."));
}

/** Returns true if it is an integer of any size. */
bool isWholeNumber(const QString& text) {
    const bool hasSign = text.startsWith(QLatin1Char('-')) || text.startsWith(QLatin1Char('+'));
    const QString digits = text.mid(hasSign ? 1 : 0);
    for (const QChar character : digits) {
        if (character < QLatin1Char('0') || character > QLatin1Char('9')) {
            return false;
        }
    }
    return !digits.isEmpty();
}

Entry readInt(const QString& text) {
    bool isGood = false;
    const qlonglong value = text.toLongLong(&isGood);
    if (isGood) {
        return {KVValue(static_cast<std::int64_t>(value)), QString()};
    }
    return refused(isWholeNumber(text)
                       ? Texts::tr("The number is too large: a whole number has 64 bits.")
                       : Texts::tr("Enter a whole number, for instance -12."));
}

Entry readFloat(const QString& text) {
    for (const auto& [name, value] :
         {std::make_pair("nan", std::numeric_limits<double>::quiet_NaN()),
          std::make_pair("inf", std::numeric_limits<double>::infinity()),
          std::make_pair("-inf", -std::numeric_limits<double>::infinity())}) {
        if (text.compare(QLatin1String(name), Qt::CaseInsensitive) == 0) {
            return {KVValue(value), QString()};
        }
    }
    bool isGood = false;
    QLocale plain = QLocale::c();
    plain.setNumberOptions(QLocale::RejectGroupSeparator);
    const double value = plain.toDouble(text, &isGood);
    if (isGood && std::isfinite(value)) {
        return {KVValue(value), QString()};
    }
    return refused(std::isinf(value) ? Texts::tr("The number is too large.")
                                     : Texts::tr("Enter a number, for instance -0.5 or 1e-3."));
}

}  // namespace

bool isEnterable(KVValue::Type type) {
    return type == KVValue::Type::Bool || type == KVValue::Type::Int ||
           type == KVValue::Type::Float || type == KVValue::Type::String;
}

QString entryText(const KVValue& value) {
    return value.type() == KVValue::Type::String ? QString::fromStdString(value.toString())
                                                 : obvista::exactValueText(value);
}

Entry readEntry(const QString& text, KVValue::Type type) {
    if (type == KVValue::Type::String) {
        return {KVValue(text.toStdString()), QString()};
    }
    const QString trimmed = text.trimmed();
    const bool isNumber = type == KVValue::Type::Int || type == KVValue::Type::Float;
    if (isNumber && trimmed.contains(QLatin1Char(','))) {
        return refused(Texts::tr("Write numbers with a decimal point and without commas."));
    }
    switch (type) {
        case KVValue::Type::Bool:
            return readBool(trimmed);
        case KVValue::Type::Int:
            return readInt(trimmed);
        case KVValue::Type::Float:
            return readFloat(trimmed);
        default:
            return refused(Texts::tr("Values of this type cannot be entered."));
    }
}

}  // namespace memoryviewer
