#ifndef OBVISTA_TESTS_HOST_INSTALLATION_H
#define OBVISTA_TESTS_HOST_INSTALLATION_H

#include <QColor>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace obvista_test {

/**
 * A private installation of Obvista with launcher pictures of plain colours and the plugins that a
 * test puts into it. Its viewers keep a journal, see fixtures/scripted_viewer.h.
 */
class Installation {
  public:
    static inline const QSize a_pictureSize{520, 340};
    static inline const QColor a_plainColour{40, 40, 40};
    static inline const QColor a_memoryColour{200, 0, 0};
    static inline const QColor a_visionColour{0, 0, 200};

    Installation();
    ~Installation();

    Installation(const Installation&) = delete;
    Installation& operator=(const Installation&) = delete;

    /** The folder of the executable, as the host is given it. */
    QString appFolder() const { return fRoot.filePath(QStringLiteral("bin")); }
    /** The media folder as the host passes it on. */
    QString mediaFolder() const { return appFolder() + QStringLiteral("/../share/obvista/"); }
    QString pluginsFolder() const { return fRoot.filePath(QStringLiteral("lib/obvista")); }

    /** Copies a fixture into the plugins folder, under "lib<fixture>.so" when no name is given. */
    void addPlugin(const QString& fixture, const QString& fileName = {}) const;
    void addFile(const QString& fileName, const QByteArray& contents = {}) const;
    /** Copies the program itself, so that it finds this installation's folders. */
    QString addProgram() const;

    /** What the viewers' createWidget() calls do, in turn. */
    static void setScript(const QStringList& steps);
    /** The journal so far. */
    QStringList journal() const;
    void clearJournal() const;

  private:
    QTemporaryDir fRoot;
};

}  // namespace obvista_test

#endif
