#include "memory_viewer_widget.h"

#include "memory_delegate.h"
#include "memory_link.h"
#include "memory_model.h"
#include "value_text.h"

#include <QHeaderView>
#include <QLabel>
#include <QStackedLayout>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <labels.h>
#include <utility>

namespace memoryviewer {

namespace {

/** Milliseconds between two looks at the feed: more often than the eye follows, and a bound on how
 *  much of the GUI thread a fast robot can take. */
constexpr int a_frameTime = 40;
constexpr int a_rateTime = 1000;
constexpr int a_maxRobotNameLength = 60;
constexpr int a_nameWidthInCharacters = 40;
constexpr int a_valueWidthInCharacters = 24;
constexpr int a_unitWidthInCharacters = 12;
constexpr int a_widthInCharacters = 110;
constexpr int a_heightInLines = 38;

}  // namespace

MemoryViewerWidget::MemoryViewerWidget(std::shared_ptr<MemoryLink> link, WidgetInterface* plugin,
                                       QWidget* parent)
    : ViewerWidget(link, plugin, parent),
      fLink(std::move(link)),
      fKeys(new KeyStore(this)),
      fModel(new MemoryModel(fKeys, this)),
      fDelegate(new MemoryDelegate(this)),
      fTree(new QTreeView(this)),
      fPages(new QStackedLayout),
      fMessage(viewer::makeMessage("memoryMessage", this)),
      fNotice(viewer::makeNotice("memoryNotice", this)),
      fStatus(viewer::makeStatusLine("memoryStatus", this)) {
    xBuild();

    fFrameTimer.setSingleShot(true);
    connect(&fFrameTimer, &QTimer::timeout, this, &MemoryViewerWidget::xOnFrame);
    connect(&fRateTimer, &QTimer::timeout, this, &MemoryViewerWidget::xUpdateRate);
    fSinceFrame.start();
    fSinceRate.start();
    fRateTimer.start(a_rateTime);
    fLink->feed().setNotice([this] {
        QMetaObject::invokeMethod(
            this, [this] { xOnNotice(); }, Qt::QueuedConnection);
    });
}

MemoryViewerWidget::~MemoryViewerWidget() = default;

/** Room for the columns and some thirty rows; a docked widget gets its size from here. */
QSize MemoryViewerWidget::sizeHint() const {
    const QFontMetrics metrics = fontMetrics();
    return {a_widthInCharacters * metrics.averageCharWidth(), a_heightInLines * metrics.height()};
}

void MemoryViewerWidget::xBuild() {
    setObjectName(QStringLiteral("memoryViewer"));
    setWindowTitle(tr("Memory viewer"));
    resize(sizeHint());
    setFocusProxy(fTree);
    xBuildTree();

    fPages->addWidget(fMessage);
    fPages->addWidget(fTree);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(fNotice);
    column->addLayout(fPages, 1);
    column->addWidget(fStatus);
    xUpdateTexts();
}

void MemoryViewerWidget::xBuildTree() {
    fTree->setObjectName(QStringLiteral("memoryTree"));
    fTree->setAccessibleName(tr("Values in the robot's memory"));
    fTree->setModel(fModel);
    fTree->setItemDelegate(fDelegate);
    fTree->setUniformRowHeights(true);
    fTree->setAlternatingRowColors(true);
    fTree->setAllColumnsShowFocus(true);
    fTree->setFrameShape(QFrame::NoFrame);
    fTree->setTextElideMode(Qt::ElideRight);

    const int character = fontMetrics().averageCharWidth();
    QHeaderView* header = fTree->header();
    header->setSectionsMovable(false);
    header->resizeSection(NameColumn, a_nameWidthInCharacters * character);
    header->resizeSection(ValueColumn, a_valueWidthInCharacters * character);
    header->resizeSection(UnitColumn, a_unitWidthInCharacters * character);
    connect(fModel, &QAbstractItemModel::rowsInserted, this,
            &MemoryViewerWidget::xExpandNewBranches);
}

void MemoryViewerWidget::xOnNotice() {
    if (!fFrameTimer.isActive()) {
        const qint64 rest = a_frameTime - fSinceFrame.elapsed();
        fFrameTimer.start(static_cast<int>(std::max<qint64>(rest, 0)));
    }
}

void MemoryViewerWidget::xOnFrame() {
    fSinceFrame.restart();
    MemoryBatch batch = fLink->feed().take();
    xApply(batch);
    if (batch.fIsClosed) {
        xSetPhase(fPhase == Phase::Lost ? Phase::Lost : Phase::Closed);
        return;
    }
    switch (batch.fEnd) {
        case MemoryBatch::End::None:
            xSetPhase(batch.fHasTable ? Phase::Live : fPhase);
            break;
        case MemoryBatch::End::Refused:
            fRefusal = plainText(batch.fEndText);
            xSetPhase(Phase::Refused);
            break;
        case MemoryBatch::End::Lost:
            if (fPhase != Phase::Lost) {
                xSetPhase(Phase::Lost);
                reportLoss();
            }
            break;
    }
}

void MemoryViewerWidget::xApply(MemoryBatch& batch) {
    fUpdates += batch.fUpdates;
    fKeys->remove(batch.fRemoved);
    fKeys->add(batch.fAdded);
    fKeys->change(std::move(batch.fChanged));
}

void MemoryViewerWidget::xSetPhase(Phase phase) {
    const bool hasContent = fModel->keyCount() > 0;
    if (phase == fPhase && hasContent == (fPages->currentWidget() == fTree)) {
        return;
    }
    fPhase = phase;
    if (phase != Phase::WaitingForKeys && phase != Phase::Live) {
        fRateTimer.stop();
        fDelegate->setStale(true);
        fTree->viewport()->update();
    }
    xUpdateTexts();
}

void MemoryViewerWidget::xExpandNewBranches(const QModelIndex& parent, int first, int last) {
    if (parent.isValid()) {
        return;
    }
    for (int row = first; row <= last; ++row) {
        fTree->expand(fModel->index(row, NameColumn));
    }
}

void MemoryViewerWidget::xUpdateRate() {
    const double seconds = static_cast<double>(fSinceRate.restart()) / a_rateTime;
    fRate = static_cast<int>(std::lround(static_cast<double>(fUpdates) / seconds));
    fUpdates = 0;
    xUpdateTexts();
}

void MemoryViewerWidget::xUpdateTexts() {
    const bool hasContent = fModel->keyCount() > 0;
    const bool isLive = fPhase == Phase::Live;
    const QString phaseText = xPhaseText();
    fMessage->setText(phaseText);
    fNotice->setText(phaseText + QLatin1Char(' ') + tr("These are the last values received."));
    fNotice->setVisible(hasContent && !isLive);
    fPages->setCurrentWidget(hasContent ? static_cast<QWidget*>(fTree) : fMessage);

    viewer::setStatus(*fStatus, QStringList{xRobotText(), xKeyCountText(), xActivityText()}.join(
                                    viewer::statusSeparator()));
}

QString MemoryViewerWidget::xRobotText() const {
    const QString name = plainText(fLink->robotName(), a_maxRobotNameLength);
    const QString address = plainText(fLink->address());
    return QStringLiteral("%1%2%3:%4")
        .arg(name, viewer::statusSeparator(), address, QString::number(fLink->port()));
}

QString MemoryViewerWidget::xKeyCountText() const {
    const int count = fModel->keyCount();
    return count == 1 ? tr("1 key") : tr("%1 keys").arg(count);
}

QString MemoryViewerWidget::xPhaseText() const {
    switch (fPhase) {
        case Phase::WaitingForKeys:
            return tr("Connected. Waiting for the robot's keys\u2026");
        case Phase::Live:
            return tr("The robot's memory holds no keys.");
        case Phase::Refused:
            return tr("The robot gives no values: %1").arg(fRefusal);
        case Phase::Lost:
            return tr("The robot is lost.");
        case Phase::Closed:
            return tr("The connection is closed.");
    }
    return {};
}

QString MemoryViewerWidget::xActivityText() const {
    switch (fPhase) {
        case Phase::WaitingForKeys:
            return tr("waiting for keys");
        case Phase::Live:
            return fRate == 1 ? tr("1 update a second") : tr("%1 updates a second").arg(fRate);
        case Phase::Refused:
            return tr("no values");
        case Phase::Lost:
            return tr("robot lost");
        case Phase::Closed:
            return tr("connection closed");
    }
    return {};
}

}  // namespace memoryviewer
