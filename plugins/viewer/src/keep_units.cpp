#include "keep_units.h"

#include <QRegularExpression>

namespace obvista {

QString keepUnits(QString text) {
    static const QRegularExpression space(
        QStringLiteral("(?<=\\d) (?=[^\\s\\d]\\S*(?:\\s+\\D|$))"));
    return text.replace(space, QString(QChar::Nbsp));
}

}  // namespace obvista
