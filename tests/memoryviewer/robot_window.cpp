#include "robot_window.h"

#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QSplitter>
#include <QTreeWidget>
#include <qt_patience.h>
#include <qwt_plot.h>

namespace obvista_test {

namespace {

constexpr int a_valueColumn = 1;

}  // namespace

RobotWindow::RobotWindow(const RobotProcess::Settings& settings)
    : fSettings(settings), fRobot(std::make_unique<RobotProcess>(settings)) {
}

RobotWindow::~RobotWindow() {
    close();
}

void RobotWindow::close() {
    delete fDock;
    fDriver.reset();
}

bool RobotWindow::open() {
    close();
    fDriver = std::make_unique<ViewerDriver>();
    fDock = fDriver->dock(fDriver->createWidget(fRobot->port()));
    fDriver->window().resize(1000, 900);
    return waitForActive(&fDriver->window()) &&
           waitFor([this] { return tree()->model()->rowCount() > 0; });
}

void RobotWindow::restartRobot() {
    RobotProcess::Settings settings = fSettings;
    settings.fPort = fRobot->port();
    fRobot.reset();
    fRobot = std::make_unique<RobotProcess>(settings);
}

QModelIndex RobotWindow::cell(const char* key) const {
    const QModelIndex name = indexOf(viewer(), key);
    tree()->scrollTo(name);
    return name.sibling(name.row(), a_valueColumn);
}

void RobotWindow::choose(const char* key) const {
    tree()->setFocus();
    tree()->selectionModel()->setCurrentIndex(
        cell(key), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

void RobotWindow::setRate(int perSecond) const {
    auto* rate = find<QComboBox>("memoryRate");
    rate->setCurrentIndex(rate->findData(perSecond));
}

bool RobotWindow::answerFileQuestion(const QString& fileName) const {
    const auto question = [this] { return find<QFileDialog>("fileQuestion"); };
    if (!waitFor([&] { return question() != nullptr && question()->isVisible(); })) {
        return false;
    }
    const QString robot = find<QLabel>("robotName")->text();
    const bool isNamed =
        !robot.isEmpty() && question()->windowTitle().endsWith(QStringLiteral("\u2013 ") + robot);
    auto* name = question()->findChild<QLineEdit*>();
    name->setText(fileName);
    QTest::keyClick(name, Qt::Key_Return);
    const bool isAnswered = waitFor([&] { return question() == nullptr; });
    fDriver->window().activateWindow();
    return isNamed && isAnswered && waitForActive(&fDriver->window());
}

void RobotWindow::chooseFromMenu(const QString& text) const {
    const auto menu = [] { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); };
    QVERIFY(waitFor([&] { return menu() != nullptr; }));
    for (QAction* action : menu()->actions()) {
        if (action->text().remove(QLatin1Char('&')) == text) {
            QTest::mouseClick(menu(), Qt::LeftButton, Qt::NoModifier,
                              menu()->actionGeometry(action).center());
            return;
        }
    }
    QFAIL(qPrintable(QStringLiteral("There is no entry ") + text));
}

void RobotWindow::chooseFromRowMenu(QTreeView* view, const QString& text) const {
    // The click does not return while its menu is open.
    QTimer::singleShot(0, viewer(), [this, text] { chooseFromMenu(text); });
    const QPoint place = view->visualRect(view->currentIndex()).center();
    QContextMenuEvent click(QContextMenuEvent::Mouse, place, view->viewport()->mapToGlobal(place));
    QCoreApplication::sendEvent(view->viewport(), &click);
}

QList<QwtPlot*> RobotWindow::plots() const {
    QList<QwtPlot*> plots;
    const auto* stack = find<QSplitter>("plotStack");
    for (int i = 0; i < stack->count(); ++i) {
        auto* plot = qobject_cast<QwtPlot*>(stack->widget(i));
        if (!plot->isHidden()) {
            plots += plot;
        }
    }
    return plots;
}

QString RobotWindow::legend(int plot, int row, int column) const {
    const QTreeWidgetItem* branch = find<QTreeWidget>("plotLegend")->topLevelItem(plot);
    const QTreeWidgetItem* curve = branch != nullptr ? branch->child(row) : nullptr;
    return curve != nullptr ? curve->text(column) : QString();
}

bool isCurveAt(const QImage& picture, int x) {
    for (int y = 0; y < picture.height(); ++y) {
        if (picture.pixelColor(x, y).saturation() > 60) {
            return true;
        }
    }
    return false;
}

}  // namespace obvista_test
