#include "error_dialog.h"
#include "main_window.h"
#include "plugin_loader.h"
#include "qclosabledock_widget.h"
#include "qt_test_main.h"

#include <QMetaMethod>
#include <QtTest>

namespace {

/**
 * Returns a class's own methods as "kind signature(parameter names)", in the order of their
 * indexes.
 */
QStringList ownMethods(const QMetaObject& meta) {
    QStringList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        QByteArrayList names = method.parameterNames();
        methods += QStringLiteral("%1 %2 [%3]")
                       .arg(method.methodType() == QMetaMethod::Signal ? QStringLiteral("signal")
                                                                       : QStringLiteral("slot"),
                            QString::fromLatin1(method.methodSignature()),
                            QString::fromLatin1(names.join(',')));
    }
    return methods;
}

}  // namespace

/**
 * Plugins, translations and scripts use these classes by name and index, so the tables must not
 * change.
 */
class MetaObjectTest : public QObject {
    Q_OBJECT
  private Q_SLOTS:
    void mainWindow() {
        const QMetaObject& meta = MainWindow::staticMetaObject;
        QCOMPARE(meta.className(), "MainWindow");
        QCOMPARE(meta.superClass(), &QMainWindow::staticMetaObject);
        QCOMPARE(ownMethods(meta),
                 (QStringList{QStringLiteral("signal backgroundInvisible(bool) []"),
                              QStringLiteral("slot onBonjourListeningException(QString) [fErrMsg]"),
                              QStringLiteral("slot xOnDisconnected(WidgetInterface*) []"),
                              QStringLiteral("slot xOnLoadPlugin(QAction*) []"),
                              QStringLiteral("slot xOnHelpAbout() []"),
                              QStringLiteral("slot xOnClosePlugin(QClosableDockWidget*) "
                                             "[pluginWidget]"),
                              QStringLiteral("slot xLoadPlugin(QString) [pluginName]")}));
    }

    void pluginLoader() {
        const QMetaObject& meta = PluginLoader::staticMetaObject;
        QCOMPARE(meta.className(), "PluginLoader");
        QCOMPARE(meta.superClass(), &QLabel::staticMetaObject);
        QCOMPARE(ownMethods(meta),
                 (QStringList{QStringLiteral("signal bitmapChanged(QPixmap) [pixmap]"),
                              QStringLiteral("signal loadPlugin(QString) [pluginName]")}));
    }

    void closableDock() {
        const QMetaObject& meta = QClosableDockWidget::staticMetaObject;
        QCOMPARE(meta.className(), "QClosableDockWidget");
        QCOMPARE(meta.superClass(), &QDockWidget::staticMetaObject);
        QCOMPARE(ownMethods(meta),
                 QStringList{QStringLiteral("signal askToBeClosed(QClosableDockWidget*) [dock]")});
    }

    void errorDialog() {
        const QMetaObject& meta = KD::ErrorDialog::staticMetaObject;
        QCOMPARE(meta.className(), "KD::ErrorDialog");
        QCOMPARE(meta.superClass(), &QMessageBox::staticMetaObject);
        QCOMPARE(ownMethods(meta), QStringList());
        QCOMPARE(meta.propertyCount(), QMessageBox::staticMetaObject.propertyCount());
    }

    void informationDialogHasNone() {
        const KD::InformationDialog dialog(QString(), QString(), nullptr);
        QCOMPARE(dialog.metaObject(), &KD::ErrorDialog::staticMetaObject);
    }
};

OBVISTA_QTEST_MAIN(MetaObjectTest)

#include "meta_object_test.moc"
