#include "start_up.h"

#include "application_arguments.h"
#include "bonjour_listening_thread.h"
#include "command_line.h"
#include "identity.h"
#include "main_window.h"
#include "translations.h"

#include <QApplication>
#include <QIcon>
#include <QStyleFactory>

#include <boost/program_options/errors.hpp>
#include <boost/program_options/parsers.hpp>
#include <boost/program_options/variables_map.hpp>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <iostream>

namespace obvista {

namespace po = boost::program_options;

namespace {

/** Returns true if only the help or the version is requested. */
bool isQuestion(const CommandLine& commandLine, int argc, const char* const* argv) {
    try {
        const auto parsed = po::command_line_parser(argc, argv)
                                .options(commandLine.description())
                                .allow_unregistered()  // Qt's own options are still included
                                .run();
        return std::any_of(parsed.options.begin(), parsed.options.end(),
                           [](const po::option& option) {
                               return option.string_key == "help" || option.string_key == "version";
                           });
    } catch (const po::error&) {
        return false;
    }
}

/** Makes the help and the version available without a display, for instance over SSH. */
void doWithoutDisplay() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        if (!qEnvironmentVariableIsEmpty(name)) {
            return;
        }
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
}

void identifyApplication() {
    QCoreApplication::setOrganizationName(QLatin1String(a_organisationName));
    QCoreApplication::setOrganizationDomain(QLatin1String(a_organisationDomain));
    QCoreApplication::setApplicationName(QLatin1String(a_applicationName));
    QGuiApplication::setDesktopFileName(QLatin1String(a_desktopFileName));
    // The application object may have set the user's locale; numbers always have a decimal point.
    std::setlocale(LC_NUMERIC, "C");
    // Located beside the executable, unlike the pictures of the main window.
    QApplication::setWindowIcon(QIcon(QCoreApplication::applicationDirPath() +
                                      QStringLiteral("/media/icons/") +
                                      QStringLiteral("obvista.png")));
}

po::variables_map parse(const CommandLine& commandLine, ApplicationArguments& arguments) {
    po::variables_map values;
    try {
        po::store(po::parse_command_line(arguments.count(), arguments.values(),
                                         commandLine.description()),
                  values);
        po::notify(values);
    } catch (const po::error& error) {
        std::cerr << "Could not parse arguments: " << error.what() << '\n'
                  << commandLine.description() << '\n';
        std::exit(EXIT_FAILURE);
    }
    return values;
}

bool loadNamedPlugin(MainWindow& window, const CommandLine& commandLine) {
    return commandLine.pluginName().empty() ||
           window.loadPlugin(QString::fromLatin1(commandLine.pluginName().c_str()),
                             QString::fromLatin1(commandLine.ip().c_str()), commandLine.port(),
                             commandLine.brokerPort());
}

}  // namespace

int run(int argc, char** argv) {
    const CommandLine commandLine;
    ApplicationArguments arguments(argc, argv);
    if (isQuestion(commandLine, argc, argv)) {
        doWithoutDisplay();
    }
    // Pictures and icons have the resolution of the screen.
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Cleanlooks")));
    const QApplication application(arguments.count(), arguments.values());
    arguments.showPlugin();
    identifyApplication();

    const po::variables_map values = parse(commandLine, arguments);
    if (values.count("help") != 0) {
        std::cout << "Help: " << commandLine.description() << std::endl;
        return EXIT_SUCCESS;
    }
    if (values.count("version") != 0) {
        std::cout << "Obvista Version " << a_version << std::endl;
        return EXIT_SUCCESS;
    }

    installTranslations();
    MainWindow window;
    window.setAppFolder(QCoreApplication::applicationDirPath());
    window.init();
    if (!loadNamedPlugin(window, commandLine)) {
        std::cout << "Could not load given plugin and connect it to Robaxi" << std::endl;
        return EXIT_SUCCESS;  // not an error status: scripts that start viewers rely on it
    }

    auto discovery = KD::BonjourListeningThread::createBonjourListeningThread();
    QObject::connect(discovery.get(), &KD::BonjourListeningThread::exceptionCaught, &window,
                     &MainWindow::onBonjourListeningException);
    discovery->start(QThread::InheritPriority);
    window.show();
    const int status = QApplication::exec();
    // Stopped while everything to which discovery reports still exists.
    discovery.reset();
    return status;
}

}  // namespace obvista
