#ifndef OBVISTA_TESTS_HOST_INSTALLATION_H
#define OBVISTA_TESTS_HOST_INSTALLATION_H

#include <QColor>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace obvista_test {

/**
 * A private installation of Obvista with single-colour launcher pictures and the plugins that a
 * test adds. Its viewers keep a journal, see fixtures/scripted_viewer.h.
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

    /** Returns the folder of the executable, as passed to the host. */
    QString appFolder() const { return fRoot.filePath(QStringLiteral("bin")); }
    /** Returns the media folder as the host passes it on. */
    QString mediaFolder() const { return appFolder() + QStringLiteral("/../share/obvista/"); }
    QString pluginsFolder() const { return fRoot.filePath(QStringLiteral("lib/obvista")); }

    /** Copies a fixture into the plugins folder, as "lib<fixture>.so" unless a name is given. */
    void addPlugin(const QString& fixture, const QString& fileName = {}) const;
    void addFile(const QString& fileName, const QByteArray& contents = {}) const;
    /** Adds the catalogues of translations. */
    void addTranslations() const;
    /** Copies the program, so that it uses this installation's folders. */
    QString addProgram() const;

    /** Sets the actions of the viewers' successive createWidget() calls. */
    static void setScript(const QStringList& steps);
    /** Returns the journal so far. */
    QStringList journal() const;
    void clearJournal() const;

  private:
    QTemporaryDir fRoot;
};

}  // namespace obvista_test

#endif
