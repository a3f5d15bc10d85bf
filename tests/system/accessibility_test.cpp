#include <obvista/viewer/robot_settings.h>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDBusVariant>
#include <QSettings>
#include <QtTest>
#include <qt_test_main.h>

#include <algorithm>
#include <child_process.h>
#include <memory>
#include <robot_process.h>
#include <string>
#include <vector>

namespace {

/** Reference to an accessible object on the bus. */
struct Reference {
    QString fProgram;
    QDBusObjectPath fPath;
};

struct Relation {
    quint32 fKind = 0;
    QList<Reference> fTargets;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Reference& reference) {
    argument.beginStructure();
    argument << reference.fProgram << reference.fPath;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Reference& reference) {
    argument.beginStructure();
    argument >> reference.fProgram >> reference.fPath;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const Relation& relation) {
    argument.beginStructure();
    argument << relation.fKind << relation.fTargets;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Relation& relation) {
    argument.beginStructure();
    argument >> relation.fKind >> relation.fTargets;
    argument.endStructure();
    return argument;
}

}  // namespace

Q_DECLARE_METATYPE(Reference)
Q_DECLARE_METATYPE(QList<Reference>)
Q_DECLARE_METATYPE(Relation)
Q_DECLARE_METATYPE(QList<Relation>)

namespace {

// Constants of AT-SPI.
constexpr quint32 a_labelledBy = 2;
constexpr int a_showing = 25;

constexpr int a_patience = 30000;
const QString a_columnHeader = QStringLiteral("column header");
const QString a_cell = QStringLiteral("tree item");
const QString a_accessible = QStringLiteral("org.a11y.atspi.Accessible");

/** Accessible properties of one object. */
struct Element {
    Reference fObject;
    QString fRole;
    QString fName;
    QString fDescription;
    bool fIsShowing = false;
    bool fBeginsRow = false;  ///< first cell of a row of a tree

    QString text() const {
        return QStringLiteral("%1 \"%2\" \"%3\"").arg(fRole, fName, fDescription);
    }
};

/** Reads the accessibility tree of all programs over D-Bus, like a screen reader. */
class ScreenReader {
  public:
    ScreenReader() {
        qDBusRegisterMetaType<Reference>();
        qDBusRegisterMetaType<QList<Reference>>();
        qDBusRegisterMetaType<Relation>();
        qDBusRegisterMetaType<QList<Relation>>();
        // The first call to the launcher of the bus starts it.
        const QDBusReply<QString> address =
            QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
                QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
                QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress")));
        fBus = std::make_unique<QDBusConnection>(
            QDBusConnection::connectToBus(address.value(), QStringLiteral("accessibility")));
    }

    ~ScreenReader() { QDBusConnection::disconnectFromBus(QStringLiteral("accessibility")); }
    ScreenReader(const ScreenReader&) = delete;
    ScreenReader& operator=(const ScreenReader&) = delete;

    /**
     * Returns all objects of all programs. An object that disappears while it is read has no role.
     */
    std::vector<Element> read() const {
        std::vector<Element> elements;
        const Reference root{QStringLiteral("org.a11y.atspi.Registry"),
                             QDBusObjectPath(QStringLiteral("/org/a11y/atspi/accessible/root"))};
        xRead(root, 0, elements);
        return elements;
    }

    /** Activates an element like a click, and does not wait until that has ended. */
    void press(const Element& element) const {
        QDBusMessage action = QDBusMessage::createMethodCall(
            element.fObject.fProgram, element.fObject.fPath.path(),
            QStringLiteral("org.a11y.atspi.Action"), QStringLiteral("DoAction"));
        action << 0;
        fBus->send(action);
    }

  private:
    template <typename Value>
    Value xCall(const Reference& object, const char* method) const {
        const QDBusReply<Value> reply = fBus->call(QDBusMessage::createMethodCall(
            object.fProgram, object.fPath.path(), a_accessible, QLatin1String(method)));
        return reply.isValid() ? reply.value() : Value();
    }

    QString xProperty(const Reference& object, const char* name) const {
        QDBusMessage get = QDBusMessage::createMethodCall(
            object.fProgram, object.fPath.path(), QStringLiteral("org.freedesktop.DBus.Properties"),
            QStringLiteral("Get"));
        get << a_accessible << QString::fromLatin1(name);
        const QDBusReply<QDBusVariant> reply = fBus->call(get);
        return reply.isValid() ? reply.value().variant().toString() : QString();
    }

    /** The name of a combo box is its value: screen readers use the text of its label. */
    QString xNameOf(const Reference& object, const QString& role) const {
        for (const Relation& relation : xCall<QList<Relation>>(object, "GetRelationSet")) {
            if (relation.fKind == a_labelledBy && !relation.fTargets.isEmpty()) {
                return xProperty(relation.fTargets.first(), "Name");
            }
        }
        return role == QLatin1String("combo box") ? QString() : xProperty(object, "Name");
    }

    void xRead(const Reference& object, int depth, std::vector<Element>& elements) const {
        constexpr int deepest = 30;
        Element element;
        element.fObject = object;
        element.fRole = xCall<QString>(object, "GetRoleName");
        element.fName = xNameOf(object, element.fRole);
        element.fDescription = xProperty(object, "Description");
        const auto states = xCall<QList<quint32>>(object, "GetState");
        element.fIsShowing = !states.isEmpty() && ((states.first() >> a_showing) & 1U) != 0;
        elements.push_back(element);
        if (depth == deepest) {
            return;
        }
        int columns = 0;
        int cells = 0;
        for (const Reference& child : xCall<QList<Reference>>(object, "GetChildren")) {
            const std::size_t at = elements.size();
            xRead(child, depth + 1, elements);
            Element& read = elements[at];
            columns += read.fRole == a_columnHeader ? 1 : 0;
            if (read.fRole == a_cell) {
                read.fBeginsRow = cells++ % std::max(columns, 1) == 0;
            }
        }
    }

    std::unique_ptr<QDBusConnection> fBus;
};

bool isInteractive(const Element& element) {
    static const QStringList roles{
        "push button", "check box",    "toggle button", "button menu", "combo box",   "text",
        "spin button", "slider",       "tree",          "tree table",  "table",       "list box",
        "menu item",   "radio button", "graphic",       "list item",   a_columnHeader};
    // Other cells of a row may be empty.
    return element.fIsShowing && (roles.contains(element.fRole) || element.fBeginsRow);
}

bool has(const std::vector<Element>& elements, const QString& role, const QString& name) {
    return std::any_of(elements.begin(), elements.end(), [&](const Element& element) {
        return element.fRole == role && element.fName == name && element.fIsShowing;
    });
}

std::string program() {
    return qEnvironmentVariable("OBVISTA_BUILD_DIR").toStdString() + "/bin/obvista";
}

/**
 * Checks the names and descriptions of all elements, at least `leastInteractive` of them
 * interactive.
 */
void check(const std::vector<Element>& elements, int leastInteractive) {
    int interactive = 0;
    for (const Element& element : elements) {
        interactive += isInteractive(element) ? 1 : 0;
        QVERIFY2(!isInteractive(element) || !element.fName.isEmpty(), qPrintable(element.text()));
        QVERIFY2(!element.fDescription.contains(QLatin1Char('<')), qPrintable(element.text()));
    }
    QVERIFY2(interactive >= leastInteractive, qPrintable(QString::number(interactive)));
}

}  // namespace

/** Tests Obvista with a screen reader, also with a viewer of a simulated robot. */
class AccessibilityTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    static void initTestCase();
    void namesWhateverIsInteractive_data();
    void namesWhateverIsInteractive();
    void namesAFilterAPlotAndWatchedKeys();
    void namesTheLauncherAndTheBrowser();
    void namesEveryCellOfTheBrowser();
};

void AccessibilityTest::initTestCase() {
    qputenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
    // Suppresses discovery's message that there is no Avahi daemon.
    QSettings(QStringLiteral("Quorvane Robotics"), QStringLiteral("Obvista Desktop"))
        .setValue(QStringLiteral("Preferences/remoteControl"), true);
}

void AccessibilityTest::namesWhateverIsInteractive_data() {
    QTest::addColumn<QString>("plugin");
    QTest::addColumn<QStringList>("boxes");
    QTest::newRow("camera viewer")
        << "cameraviewer" << QStringList{"Camera", "Resolution", "Format", "Rate"};
    QTest::newRow("memory viewer") << "memoryviewer" << QStringList{"Updates a second"};
}

void AccessibilityTest::namesWhateverIsInteractive() {
    QFETCH(QString, plugin);
    QFETCH(QStringList, boxes);
    const obvista_test::RobotProcess robot;
    const ScreenReader reader;
    const obvista_test::ChildProcess obvista({program(), "--plugin", plugin.toStdString(), "--ip",
                                              obvista_test::RobotProcess::address(), "--port",
                                              std::to_string(robot.port())});
    std::vector<Element> elements;
    const auto hasBoxes = [&] {
        elements = reader.read();
        return std::all_of(boxes.begin(), boxes.end(), [&](const QString& box) {
            return has(elements, QStringLiteral("combo box"), box);
        });
    };
    QTRY_VERIFY_WITH_TIMEOUT(hasBoxes(), a_patience);
    check(elements, 10);
}

void AccessibilityTest::namesAFilterAPlotAndWatchedKeys() {
    const QString key = QStringLiteral("Battery/Charge");
    {
        obvista::RobotSettings settings(QStringLiteral("MemoryViewer"), "robot1");
        settings.setValue(QStringLiteral("filter"), QStringLiteral("Battery"));
        settings.setValue(QStringLiteral("watched"), QStringList{key});
        const QVariantList plot{QVariantMap{{QStringLiteral("key"), key}}};
        settings.setValue(QStringLiteral("plots"),
                          QVariantMap{{QStringLiteral("plots"), QVariantList{QVariant(plot)}}});
    }
    obvista_test::RobotProcess::Settings robotSettings;
    robotSettings.fArguments = {"--name", "robot1"};
    const obvista_test::RobotProcess robot(robotSettings);
    const ScreenReader reader;
    const obvista_test::ChildProcess obvista({program(), "--plugin", "memoryviewer", "--ip",
                                              obvista_test::RobotProcess::address(), "--port",
                                              std::to_string(robot.port())});
    std::vector<Element> elements;
    // Its name in the tree, in the legend and in the watch list.
    const auto isShown = [&] {
        elements = reader.read();
        return has(elements, a_cell, key) && has(elements, a_cell, QStringLiteral("Charge")) &&
               has(elements, QStringLiteral("check box"), QStringLiteral("Follow"));
    };
    QTRY_VERIFY_WITH_TIMEOUT(isShown(), a_patience);
    check(elements, 40);
}

// Without robots: nothing is announced where the test runs.
void AccessibilityTest::namesTheLauncherAndTheBrowser() {
    const ScreenReader reader;
    const obvista_test::ChildProcess obvista({program()});
    std::vector<Element> elements;
    const auto has = [&](const char* role, const char* name) {
        elements = reader.read();
        return ::has(elements, QLatin1String(role), QLatin1String(name));
    };
    QTRY_VERIFY_WITH_TIMEOUT(has("graphic", "Launcher"), a_patience);
    elements = reader.read();  // read again: the window may have opened during the first reading
    check(elements, 3);
    const auto viewer = std::find_if(elements.begin(), elements.end(), [](const Element& element) {
        return element.fName == QLatin1String("memoryviewer");
    });
    QVERIFY(viewer != elements.end());
    reader.press(*viewer);
    QTRY_VERIFY_WITH_TIMEOUT(has("push button", "Connect to"), a_patience);
    elements = reader.read();
    check(elements, 15);
}

void AccessibilityTest::namesEveryCellOfTheBrowser() {
    const ScreenReader reader;
    const obvista_test::ChildProcess browser(
        {qEnvironmentVariable("OBVISTA_BUILD_DIR").toStdString() + "/tests/browser_program"});
    std::vector<Element> elements;
    const auto hasCell = [&](const char* name) {
        return has(elements, a_cell, QLatin1String(name));
    };
    QTRY_VERIFY_WITH_TIMEOUT((elements = reader.read(), hasCell("robot3.local")), a_patience);
    check(elements, 15);
    int cells = 0;
    for (const Element& element : elements) {
        cells += element.fRole == a_cell ? 1 : 0;
        QVERIFY2(element.fRole != a_cell || !element.fName.isEmpty(),
                 qPrintable(QString::number(cells)));
    }
    QCOMPARE(cells, 4 * 5);  // of four hosts
    for (const char* text : {"No favourite", "Robot", "Computer", "Robot without Robaxi", "9560"}) {
        QVERIFY2(hasCell(text), text);
    }
}

OBVISTA_QTEST_MAIN(AccessibilityTest)
#include "accessibility_test.moc"
