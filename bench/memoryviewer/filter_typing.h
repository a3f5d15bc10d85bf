#ifndef OBVISTA_BENCH_MEMORYVIEWER_FILTER_TYPING_H
#define OBVISTA_BENCH_MEMORYVIEWER_FILTER_TYPING_H

#include <QElapsedTimer>
#include <QObject>

#include <vector>

class QLineEdit;
class QTreeView;

namespace bench {

/**
 * Types a filter, takes it back key by key, and so on, and measures from each key to the end of the
 * first painting of the view after its rows were arranged anew. Says on standard output, when it is
 * done, "typed MEDIAN LONGEST FLOOR" in milliseconds; the floor is the median from a key to the end
 * of the painting of a line edit that nobody listens to.
 */
class FilterTyping : public QObject {
  public:
    /** Both outlive this. */
    FilterTyping(QLineEdit* filter, QTreeView* view);

    /** From the event loop, which has to run on. */
    void start();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void xType();
    void xOnPainted();
    void xTell();

    QLineEdit* fFilter;
    QWidget* fPainted;
    QElapsedTimer fSinceKey;
    bool fIsArranged = false;
    std::size_t fTyped = 0;
    std::vector<double> fTimes;
};

}  // namespace bench

#endif
