#include "model/key_cells.h"

#include "editing/value_entry.h"
#include "session/key_store.h"

#include <base/time.h>
#include <obvista/viewer/value_text.h>

#include <QCoreApplication>
#include <QDateTime>

#include <algorithm>

namespace memoryviewer {

namespace {

constexpr int a_maxUnitLength = 40;
constexpr double a_secondsInMinute = 60;
/** Half of the last digit of seconds from 10 on: 59.95 s is shown as a minute. */
constexpr double a_roundingOfSeconds = 0.05;
constexpr int a_secondsInHour = 3600;
constexpr double a_secondsInDay = 86400;

/** The texts of this file in the catalogues of translations. */
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(memoryviewer::KeyCells)
};

/** Returns true if values of the type are right-aligned, next to the unit. */
bool isReadFromTheRight(KVValue::Type type) {
    return type == KVValue::Type::Int || type == KVValue::Type::Float ||
           type == KVValue::Type::Bool;
}

/** Returns a line of a tool tip, escaped since Qt could mistake it for rich text. */
QString toolTipLine(const QString& label, const QString& text) {
    return QStringLiteral("<br/>%1: %2").arg(label, text.toHtmlEscaped());
}

bool isEditable(const MemoryKey& key, int column) {
    return column == ValueColumn && key.fInfo.fWritable && key.hasValue() &&
           isEnterable(key.type());
}

QString toolTipText(const MemoryKey& key) {
    QString text =
        QStringLiteral("<p><b>%1</b>").arg(obvista::plainText(key.fInfo.fName).toHtmlEscaped());
    if (!key.fInfo.fDescription.empty()) {
        text +=
            QStringLiteral("<br/>") + obvista::plainText(key.fInfo.fDescription).toHtmlEscaped();
    }
    if (!key.hasValue()) {
        return text + QStringLiteral("</p>");
    }
    const QString unit = obvista::plainText(key.fInfo.fUnit, a_maxUnitLength);
    text += toolTipLine(Texts::tr("Value"),
                        (obvista::exactValueText(key.fValue) + QLatin1Char(' ') + unit).trimmed());
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(key.fTime / 1000);
    text +=
        //: before the time of the last change of a value
        toolTipLine(Texts::tr("Changed"), time.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")));
    if (isEditable(key, ValueColumn)) {
        const QString range =
            key.fInfo.fRange
                ? obvista::plainText(key.fInfo.fRange->toString(key.type(), key.fInfo.fUnit))
                : QString();
        if (!range.isEmpty()) {
            //: before the range of a value
            text += toolTipLine(Texts::tr("Accepts"), range);
        }
        text += QStringLiteral("<br/>") + Texts::tr("Writable: F2 edits the value.");
    }
    return text + QStringLiteral("</p>");
}

/** Uses three digits. A number that rounds up to 10 has one decimal like 10, to avoid flicker. */
QString figureText(double value) {
    constexpr double roundsToTen = 9.995;
    return QString::number(value, 'f', value < roundsToTen ? 2 : 1);
}

/** The age is not, so that it is beside the rate when its column fills a wide dock. */
bool isRightAligned(const MemoryKey& key, int column) {
    return column == RateColumn || (column == ValueColumn && isReadFromTheRight(key.type()));
}

}  // namespace

QString keyCellText(const KeyStore& keys, const MemoryKey& key, int column) {
    switch (column) {
        case ValueColumn:
            return obvista::valueText(key.fValue);
        case UnitColumn:
            return obvista::plainText(key.fInfo.fUnit, a_maxUnitLength);
        case TypeColumn:
            return QLatin1String(KVValue::typeName(key.type()));
        case RateColumn:
            return rateText(key.fRate.perSecond(), key.fRate.isLowerBound());
        case AgeColumn:
            return key.hasValue() ? ageText(ageOf(keys, key)) : QString();
        default:
            return {};
    }
}

QVariant keyCellData(const KeyStore& keys, const MemoryKey& key, int column, int role) {
    switch (role) {
        case Qt::DisplayRole:
            return keyCellText(keys, key, column);
        case Qt::ToolTipRole:
            return toolTipText(key);
        case Qt::AccessibleTextRole:
            return isEditable(key, column)
                       //: %1 is a value; for screen readers
                       ? Texts::tr("%1, writable").arg(keyCellText(keys, key, column))
                       : QVariant();
        case Qt::TextAlignmentRole:
            return QVariant(Qt::AlignVCenter |
                            (isRightAligned(key, column) ? Qt::AlignRight : Qt::AlignLeft));
        case MarkedRole:
            return keys.isMarked(key);
        case KeyNameRole:
            return QString::fromStdString(key.fInfo.fName);
        case KeyRole:
            return QVariant::fromValue(&key);
        default:
            return {};
    }
}

Qt::ItemFlags keyCellFlags(const MemoryKey& key, int column) {
    return isEditable(key, column) ? Qt::ItemIsDragEnabled | Qt::ItemIsEditable
                                   : Qt::ItemIsDragEnabled;
}

QVariant keyHeaderData(int column, Qt::Orientation orientation, int role) {
    if (orientation != Qt::Horizontal) {
        return {};
    }
    if (role == Qt::TextAlignmentRole) {
        return QVariant(Qt::AlignVCenter | (column == RateColumn ? Qt::AlignRight : Qt::AlignLeft));
    }
    if (role == Qt::ToolTipRole && column == RateColumn) {
        return Texts::tr(
            "Changes a second. No more can be seen than are sent: see the rate above.");
    }
    if (role == Qt::ToolTipRole && column == AgeColumn) {
        return Texts::tr("Time since the value last changed, by the robot's clock.");
    }
    if (role != Qt::DisplayRole) {
        return {};
    }
    switch (column) {
        case NameColumn:
            return Texts::tr("Name");
        case ValueColumn:
            return Texts::tr("Value");
        case UnitColumn:
            return Texts::tr("Unit");
        case TypeColumn:
            return Texts::tr("Type");
        case RateColumn:
            return Texts::tr("Rate");
        case AgeColumn:
            return Texts::tr("Age");
        default:
            return {};
    }
}

QString ageText(double seconds) {
    const double age = std::max(seconds, 0.0);
    if (age < a_secondsInMinute - a_roundingOfSeconds) {
        return Texts::tr("%1 s").arg(age < 1 ? QString::number(age, 'f', 3) : figureText(age));
    }
    const auto whole = static_cast<qint64>(age + a_roundingOfSeconds);
    if (whole < a_secondsInHour) {
        //: minutes and seconds
        return Texts::tr("%1:%2 min").arg(whole / 60).arg(whole % 60, 2, 10, QLatin1Char('0'));
    }
    return age < a_secondsInDay ? Texts::tr("%1 h").arg(age / a_secondsInHour, 0, 'f', 1)
                                : Texts::tr("%1 d").arg(age / a_secondsInDay, 0, 'f', 1);
}

QString rateText(double perSecond, bool isLowerBound) {
    if (perSecond <= 0) {
        return {};
    }
    const QString text = figureText(perSecond);
    return isLowerBound ? QStringLiteral("\u2265 ") + text : text;
}

double ageOf(const KeyStore& keys, const MemoryKey& key) {
    return static_cast<double>(keys.clock().now() - key.fTime) / base::a_microsecondsPerSecond;
}

QString rowText(const MemoryKey& key, int maxValueLength) {
    return QStringList{obvista::plainText(key.fInfo.fName),
                       obvista::exactValueText(key.fValue, maxValueLength),
                       obvista::plainText(key.fInfo.fUnit, a_maxUnitLength),
                       QLatin1String(KVValue::typeName(key.type()))}
        .join(QLatin1Char('\t'));
}

}  // namespace memoryviewer
