#include "banner.h"

#include "keep_units.h"

#include <obvista/viewer/labels.h>

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace obvista {

Banner::Banner(QWidget* parent) : QWidget(parent), fSentence(makeBanner("viewerBanner", this)) {
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::ToolTipBase);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(fSentence, 1);
    fConnect = xAddButton("connectButton", tr("Connect"));
    fGiveUp = xAddButton("giveUpButton", tr("Give up"));
    connect(fConnect, &QPushButton::clicked, this, &Banner::connectWanted);
    connect(fGiveUp, &QPushButton::clicked, this, &Banner::giveUpWanted);
    showSentence(QString());
}

void Banner::showSentence(const QString& sentence, Buttons buttons) {
    fSentence->setText(keepUnits(sentence));
    fSentence->setVisible(!sentence.isEmpty());
    fConnect->setVisible(buttons == Buttons::ConnectOrGiveUp);
    fGiveUp->setVisible(buttons != Buttons::None);
    setVisible(!sentence.isEmpty());
}

QPushButton* Banner::xAddButton(const char* objectName, const QString& text) {
    auto* button = new QPushButton(text, this);
    button->setObjectName(QLatin1String(objectName));
    auto* row = static_cast<QHBoxLayout*>(layout());
    row->addWidget(button);
    row->addSpacing(fontMetrics().height() / 2);
    return button;
}

}  // namespace obvista
