#ifndef OBVISTA_VIEWER_BANNER_H
#define OBVISTA_VIEWER_BANNER_H

#include <QWidget>

class QLabel;
class QPushButton;

namespace obvista {

/** The bar above a viewer's parts: a sentence, and buttons while the robot is lost. */
class Banner : public QWidget {
    Q_OBJECT

  public:
    enum class Buttons { None, GiveUp, ConnectOrGiveUp };

    explicit Banner(QWidget* parent);

    /** Shows a sentence, as plain text, or hides the bar if it is empty. */
    void showSentence(const QString& sentence, Buttons buttons = Buttons::None);

  Q_SIGNALS:
    void connectWanted();
    void giveUpWanted();

  private:
    QPushButton* xAddButton(const char* objectName, const QString& text);

    QLabel* fSentence;
    QPushButton* fConnect;
    QPushButton* fGiveUp;
};

}  // namespace obvista

#endif
