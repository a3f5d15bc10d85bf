#include "installation.h"

#include <QDir>
#include <QFile>
#include <QImage>

namespace obvista_test {

namespace {

const char a_script[] = "OBVISTA_FIXTURE_SCRIPT";
const char a_journal[] = "OBVISTA_FIXTURE_JOURNAL";

QString buildFolder() {
    return qEnvironmentVariable("OBVISTA_BUILD_DIR");
}

void paint(const QString& file, const QColor& colour) {
    QImage picture(Installation::a_pictureSize, QImage::Format_RGB32);
    picture.fill(colour);
    if (!picture.save(file)) {
        qFatal("cannot write %s", qPrintable(file));
    }
}

void copy(const QString& from, const QString& to) {
    if (!QFile::copy(from, to)) {
        qFatal("cannot copy %s to %s", qPrintable(from), qPrintable(to));
    }
}

}  // namespace

Installation::Installation() {
    const QDir root(fRoot.path());
    root.mkpath(QStringLiteral("bin"));
    root.mkpath(QStringLiteral("lib/obvista"));
    root.mkpath(QStringLiteral("share/obvista/background"));
    const QString background = mediaFolder() + QStringLiteral("background/");
    paint(background + QStringLiteral("interface.png"), a_plainColour);
    paint(background + QStringLiteral("interface_memory.png"), a_memoryColour);
    paint(background + QStringLiteral("interface_camera.png"), a_visionColour);
    qputenv(a_journal, QFile::encodeName(fRoot.filePath(QStringLiteral("journal"))));
    setScript({});
}

Installation::~Installation() {
    qunsetenv(a_journal);
    qunsetenv(a_script);
}

void Installation::addPlugin(const QString& fixture, const QString& fileName) const {
    const QString built =
        QStringLiteral("%1/tests/plugins/%2/lib%2.so").arg(buildFolder(), fixture);
    const QString name = fileName.isEmpty() ? QStringLiteral("lib%1.so").arg(fixture) : fileName;
    copy(built, pluginsFolder() + QLatin1Char('/') + name);
}

void Installation::addFile(const QString& fileName, const QByteArray& contents) const {
    QFile file(pluginsFolder() + QLatin1Char('/') + fileName);
    if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size()) {
        qFatal("cannot write %s", qPrintable(file.fileName()));
    }
}

void Installation::addTranslations() const {
    if (!QFile::link(buildFolder() + QStringLiteral("/share/obvista/translations"),
                     fRoot.filePath(QStringLiteral("share/obvista/translations")))) {
        qFatal("cannot link the translations");
    }
}

QString Installation::addProgram() const {
    QString program = appFolder() + QStringLiteral("/obvista");
    copy(buildFolder() + QStringLiteral("/bin/obvista"), program);
    return program;
}

void Installation::setScript(const QStringList& steps) {
    qputenv(a_script, steps.join(QLatin1Char(';')).toUtf8());
}

QStringList Installation::journal() const {
    QFile file(fRoot.filePath(QStringLiteral("journal")));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

void Installation::clearJournal() const {
    QFile::remove(fRoot.filePath(QStringLiteral("journal")));
}

}  // namespace obvista_test
