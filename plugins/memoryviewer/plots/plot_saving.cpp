#include "plots/plot_saving.h"

#include "plots/plot_choice.h"
#include "plots/plot_export.h"
#include "plots/plot_history.h"
#include "plots/plot_stack.h"
#include "plots/plot_view.h"
#include "plots/time_axis.h"

#include <obvista/viewer/file_question.h>
#include <obvista/viewer/plain_text.h>
#include <obvista/viewer/value_text.h>

#include <QFileInfo>
#include <QMenu>

#include <limits>
#include <utility>

namespace memoryviewer {

namespace {

QString shownName(const QString& fileName) {
    return obvista::plainText(QFileInfo(fileName).absoluteFilePath().toStdString());
}

}  // namespace

PlotSaving::PlotSaving(const PlotStack* plots, const PlotChoice* choice, const PlotHistory* history,
                       const TimeAxis* time, QWidget* parent)
    : QObject(parent),
      fPlots(plots),
      fChoice(choice),
      fHistory(history),
      fTime(time),
      fWidget(parent),
      fExport(new PointExport(this)) {
    connect(fExport, &PointExport::finished, this, &PlotSaving::xOnExported);
}

void PlotSaving::addTo(QMenu& menu) {
    menu.addAction(tr("Save &picture (PNG)\u2026"), this, &PlotSaving::xAskToSavePicture);
    menu.addAction(tr("Save p&oints shown (CSV)\u2026"), this, [this] { xAskToSavePoints(true); });
    menu.addAction(tr("Save all poin&ts (CSV)\u2026"), this, [this] { xAskToSavePoints(false); });
}

void PlotSaving::xAskToSavePicture() {
    obvista::askForFile(
        fWidget,
        {tr("Save picture"), tr("Pictures (*.png)"), QStringLiteral("png"), QStringLiteral("plot")},
        [this](const QString& file) { savePicture(file); });
}

void PlotSaving::xAskToSavePoints(bool onlyShown) {
    obvista::askForFile(fWidget,
                        {tr("Save points"), tr("Comma-separated values (*.csv)"),
                         QStringLiteral("csv"), QStringLiteral("plot")},
                        [this, onlyShown](const QString& file) { savePoints(file, onlyShown); });
}

void PlotSaving::savePicture(const QString& fileName) {
    if (fPlots->isEmpty()) {
        return;
    }
    PlotView& plot = fPlots->plot(fPlots->current());
    const QString error =
        memoryviewer::savePicture(plotPicture(plot, fChoice->entriesOf(plot)), fileName);
    //: %1 is a file
    xTell(error, tr("Picture saved in %1.").arg(shownName(fileName)));
}

void PlotSaving::savePoints(const QString& fileName, bool onlyShown) {
    if (fPlots->isEmpty()) {
        return;
    }
    if (fExport->isRunning()) {
        Q_EMIT said(tr("Points are being saved already."));
        return;
    }
    std::vector<ExportedCurve> curves;
    for (const int key : fPlots->plot(fPlots->current()).keys()) {
        const PlottedKey& description = fChoice->keys().at(key);
        curves.push_back({{description.fName.toStdString(), description.fUnit.toStdString()},
                          fHistory->curve(key)});
    }
    constexpr double forever = std::numeric_limits<double>::infinity();
    fExport->start(std::move(curves), onlyShown ? fTime->left() : -forever,
                   onlyShown ? fTime->right() : forever, fileName);
    Q_EMIT said(tr("Saving points\u2026"));
}

void PlotSaving::xOnExported(const QString& fileName, qint64 rows, const QString& error) {
    const QString name = shownName(fileName);
    //: %1 is a file
    const QString done = rows == 1 ? tr("1 point saved in %1.").arg(name)
                                   //: %2 is a file
                                   : tr("%1 points saved in %2.", nullptr, obvista::pluralOf(rows))
                                         .arg(obvista::countText(rows), name);
    xTell(error, done);
}

void PlotSaving::xTell(const QString& error, const QString& done) {
    if (error.isEmpty()) {
        Q_EMIT saved(done);
    } else {
        Q_EMIT said(error);
    }
}

}  // namespace memoryviewer
