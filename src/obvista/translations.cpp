#include "translations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

#include <memory>

namespace obvista {

namespace {

/** @return false if the folder has no such catalogue */
bool install(const QString& catalogue, const QLocale& language, const QString& folder) {
    auto translator = std::make_unique<QTranslator>(QCoreApplication::instance());
    if (!translator->load(catalogue + QLatin1Char('_') + language.name(), folder)) {
        return false;
    }
    return QCoreApplication::installTranslator(translator.release());
}

bool isLanguageOfTheCode(const QLocale& language) {
    return language.language() == QLocale::C || language.language() == QLocale::English;
}

}  // namespace

void installTranslations() {
    const QString folder =
        QCoreApplication::applicationDirPath() + QStringLiteral("/../share/obvista/translations");
    for (const QString& name : QLocale::system().uiLanguages()) {
        const QLocale language(name);
        if (isLanguageOfTheCode(language)) {
            return;
        }
        if (install(QStringLiteral("obvista"), language, folder)) {
            // Buttons and file dialogs; they stay English where Qt's catalogues are not installed.
            install(QStringLiteral("qtbase"), language,
                    QLibraryInfo::location(QLibraryInfo::TranslationsPath));
            return;
        }
    }
}

}  // namespace obvista
