#include "camera_bar.h"

#include <obvista/viewer/labels.h>
#include <obvista/viewer/plain_text.h>
#include <obvista/viewer/wrap_layout.h>

#include <QAction>
#include <QComboBox>
#include <QEvent>
#include <QLineEdit>
#include <QMenu>
#include <QSignalBlocker>
#include <QSize>
#include <QToolButton>

#include <algorithm>
#include <set>
#include <utility>

namespace cameraviewer {

namespace {

constexpr int a_space = 2;
constexpr int a_maxNameShown = 40;
constexpr int a_maxToolTip = 300;
constexpr int a_longestName = 200;

/**
 * Ignores the wheel over a box that does not have the focus: it is meant for the surroundings, and
 * would change the robot's settings by accident.
 */
class WheelGuard : public QObject {
  public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override {
        const auto* box = static_cast<QWidget*>(watched);
        if (event->type() == QEvent::Wheel && !box->hasFocus()) {
            event->ignore();
            return true;
        }
        return QObject::eventFilter(watched, event);
    }
};

QString rateName(double rate) {
    //: %1 is a number of pictures; in a list of rates
    return CameraBar::tr("%1 a second").arg(QString::number(rate, 'g', 4));
}

/** In the place of a bit rate. */
constexpr int a_automatic = 0;

QString bitRateName(int bitRate) {
    constexpr double mega = 1e6;
    return CameraBar::tr("%1 Mbit/s").arg(QString::number(bitRate / mega, 'g', 4));
}

QString asToolTip(const std::string& text) {
    const QString plain = obvista::plainText(text, a_maxToolTip);
    return plain.isEmpty() ? QString() : QStringLiteral("<p>%1</p>").arg(plain.toHtmlEscaped());
}

}  // namespace

bool CameraBar::Choice::operator==(const Choice& other) const {
    return fText == other.fText && fValue == other.fValue && fToolTip == other.fToolTip;
}

QString CameraBar::formatName(const std::string& format) {
    static const std::map<std::string, QString> names{{"rgb", QStringLiteral("RGB")},
                                                      {"yuv422", QStringLiteral("YUV 4:2:2")},
                                                      {"jpeg", QStringLiteral("JPEG")},
                                                      {"h264", QStringLiteral("H.264")}};
    if (format == "grey") {
        //: format of pictures without colours
        return tr("Grey");
    }
    const auto found = names.find(format);
    return found != names.end() ? found->second : obvista::plainText(format, a_maxNameShown);
}

CameraBar::CameraBar(QWidget* parent)
    : QWidget(parent),
      fCameraBox(xMakeBox("cameraBox", tr("Camera"), tr("the displayed camera"))),
      fNameField(xMakeNameField()),
      fSizeBox(xMakeBox("sizeBox", tr("Resolution"),
                        tr("width and height of the pictures that the robot sends, in pixels"))),
      fFormatBox(xMakeBox("formatBox", tr("Format"),
                          tr("H.264 needs the least bandwidth and JPEG less than the others, which "
                             "have exact values"))),
      fRateBox(xMakeBox("rateBox", tr("Rate"), tr("frames a second"))),
      fBitRateBox(xMakeBox("bitRateBox", tr("Bandwidth"),
                           tr("the bandwidth of H.264; the more, the better the picture"))),
      fLast(fBitRateBox) {
    auto* row = new obvista::WrapLayout(this);
    row->setContentsMargins(a_space, a_space, a_space, a_space);
    row->setSpacing(a_space);
    row->addWidget(fNameField);
    for (QComboBox* box : {fCameraBox, fSizeBox, fFormatBox, fRateBox, fBitRateBox}) {
        row->addWidget(box);
    }
    setObjectName(QStringLiteral("cameraBar"));
    setAccessibleName(tr("Camera and its settings"));
    connect(fCameraBox, qOverload<int>(&QComboBox::activated), this,
            [this] { Q_EMIT cameraWanted(fCameraBox->currentData().toString().toStdString()); });
    connect(fSizeBox, qOverload<int>(&QComboBox::activated), this, [this] {
        const QSize size = fSizeBox->currentData().toSize();
        picture::CameraSettings wanted = fCamera.fSettings;
        wanted.fWidth = size.width();
        wanted.fHeight = size.height();
        xWant(wanted);
    });
    connect(fFormatBox, qOverload<int>(&QComboBox::activated), this, [this] {
        picture::CameraSettings wanted = fCamera.fSettings;
        wanted.fFormat = fFormatBox->currentData().toString().toStdString();
        xWant(wanted);
    });
    connect(fRateBox, qOverload<int>(&QComboBox::activated), this, [this] {
        picture::CameraSettings wanted = fCamera.fSettings;
        wanted.fRate = fRateBox->currentData().toDouble();
        xWant(wanted);
    });
    connect(fBitRateBox, qOverload<int>(&QComboBox::activated), this, [this] {
        const int bitRate = fBitRateBox->currentData().toInt();
        Q_EMIT automaticWanted(bitRate == a_automatic);
        if (bitRate != a_automatic) {
            picture::CameraSettings wanted = fCamera.fSettings;
            wanted.fBitRate = bitRate;
            xWant(wanted);
        }
    });
    showCameras({}, nullptr, {}, false);
}

void CameraBar::showCameras(const std::vector<picture::CameraInfo>& cameras,
                            const picture::CameraInfo* chosen,
                            const picture::CameraSettings& settings, bool isAutomatic) {
    Choices names;
    for (const picture::CameraInfo& camera : cameras) {
        names += {obvista::plainText(camera.fName, a_maxNameShown),
                  QString::fromStdString(camera.fName), asToolTip(camera.fDescription)};
    }
    fCamera = chosen != nullptr ? *chosen : picture::CameraInfo();
    fCamera.fSettings = settings;
    fIsAutomatic = isAutomatic;
    xFill(*fCameraBox, names, QString::fromStdString(fCamera.fName));
    if (!fNameField->isModified()) {
        fNameField->setText(QString::fromStdString(fCamera.fName));
    }
    xShowSettings();
}

void CameraBar::setListed(bool isListed) {
    fCameraBox->setVisible(isListed);
    fNameField->setVisible(!isListed);
}

void CameraBar::setUsable(bool isUsable) {
    fNameField->setEnabled(isUsable);
    for (QComboBox* box : {fCameraBox, fSizeBox, fFormatBox, fRateBox, fBitRateBox}) {
        box->setEnabled(isUsable && box->count() > 0);
    }
}

void CameraBar::addButton(QAction* action) {
    QToolButton* button = xAddButton();
    button->setDefaultAction(action);
    button->setAccessibleDescription(action->whatsThis());
}

void CameraBar::addMenuButton(const char* objectName, const QString& text, const QString& toolTip,
                              QMenu* menu) {
    QToolButton* button = xAddButton();
    button->setObjectName(QLatin1String(objectName));
    button->setText(text);
    obvista::explain(*button, toolTip);
    button->setPopupMode(QToolButton::InstantPopup);
    button->setMenu(menu);
}

void CameraBar::addPart(QWidget* part) {
    layout()->addWidget(part);
}

QToolButton* CameraBar::xAddButton() {
    auto* button = new QToolButton(this);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    layout()->addWidget(button);
    // Before parts that were created between the boxes and this button, such as the picture.
    setTabOrder(fLast, button);
    fLast = button;
    return button;
}

QComboBox* CameraBar::xMakeBox(const char* objectName, const QString& name,
                               const QString& toolTip) {
    auto* box = new QComboBox(this);
    box->setObjectName(QLatin1String(objectName));
    obvista::nameByLabel(*box, name);
    //: %1 is the name of a control, %2 its purpose
    obvista::explain(*box, tr("%1: %2").arg(name, toolTip));
    box->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    box->setFocusPolicy(Qt::StrongFocus);
    box->installEventFilter(new WheelGuard(box));
    return box;
}

QLineEdit* CameraBar::xMakeNameField() {
    auto* field = new QLineEdit(this);
    field->setObjectName(QStringLiteral("cameraName"));
    field->setPlaceholderText(tr("Name of a camera"));
    obvista::nameByLabel(*field, tr("Camera"));
    obvista::explain(*field,
                     tr("Camera: the robot does not list its cameras; enter the name of one"));
    field->setMaxLength(a_longestName);
    field->hide();
    connect(field, &QLineEdit::returnPressed, this, [this, field] {
        field->setModified(false);
        if (!field->text().isEmpty()) {
            Q_EMIT cameraWanted(field->text().toStdString());
        }
    });
    return field;
}

/** Does not change a box that already has this content, since its list may be open. */
void CameraBar::xFill(QComboBox& box, const Choices& choices, const QVariant& current) {
    Choices before;
    for (int i = 0; i < box.count(); ++i) {
        before += {box.itemText(i), box.itemData(i), box.itemData(i, Qt::ToolTipRole).toString()};
    }
    const QSignalBlocker blocker(box);
    if (before != choices) {
        box.clear();
        for (const Choice& choice : choices) {
            box.addItem(choice.fText, choice.fValue);
            box.setItemData(box.count() - 1, choice.fToolTip, Qt::ToolTipRole);
        }
    }
    box.setCurrentIndex(box.findData(current));
    box.setEnabled(!choices.isEmpty());
}

void CameraBar::xShowSettings() {
    const picture::CameraSettings& settings = fCamera.fSettings;
    xFill(*fSizeBox, xSizes(), QSize(settings.fWidth, settings.fHeight));
    xFill(*fFormatBox, xFormats(), QString::fromStdString(settings.fFormat));
    xFill(*fRateBox, xRates(), settings.fRate);
    xFill(*fBitRateBox, xBitRates(), fIsAutomatic ? a_automatic : settings.fBitRate);
    fBitRateBox->setVisible(xHasBitRate());
}

bool CameraBar::xHasBitRate() const {
    return fCamera.fSettings.fBitRate > 0 && fCamera.fSettings.fFormat == "h264";
}

/**
 * A size may not support the current format or rate, and so on: the other settings are adapted to
 * the chosen one.
 */
void CameraBar::xWant(const picture::CameraSettings& wanted) {
    const picture::CameraSettings fitted = picture::fittedSettings(fCamera, wanted);
    if (fitted == fCamera.fSettings) {
        xShowSettings();
        return;
    }
    Q_EMIT settingsWanted(fitted);
}

CameraBar::Choices CameraBar::xSizes() const {
    std::set<std::pair<int, int>> sizes;
    for (const picture::CameraMode& mode : fCamera.fModes) {
        sizes.emplace(mode.fWidth, mode.fHeight);
    }
    Choices choices;
    for (const auto& [width, height] : sizes) {
        choices +=
            {QStringLiteral("%1 \u00D7 %2").arg(width).arg(height), QSize(width, height), {}};
    }
    return choices;
}

CameraBar::Choices CameraBar::xFormats() const {
    std::vector<std::string> formats;
    for (const picture::CameraMode& mode :
         picture::modesOfSize(fCamera, fCamera.fSettings.fWidth, fCamera.fSettings.fHeight)) {
        for (const std::string& format : mode.fFormats) {
            if (std::find(formats.begin(), formats.end(), format) == formats.end()) {
                formats.push_back(format);
            }
        }
    }
    Choices choices;
    for (const std::string& format : formats) {
        choices += {formatName(format), QString::fromStdString(format), {}};
    }
    return choices;
}

CameraBar::Choices CameraBar::xRates() const {
    std::set<double> rates;
    for (const picture::CameraMode& mode :
         picture::modesOfSize(fCamera, fCamera.fSettings.fWidth, fCamera.fSettings.fHeight)) {
        const auto& formats = mode.fFormats;
        if (std::find(formats.begin(), formats.end(), fCamera.fSettings.fFormat) != formats.end()) {
            rates.insert(mode.fRates.begin(), mode.fRates.end());
        }
    }
    Choices choices;
    for (const double rate : rates) {
        choices += {rateName(rate), rate, {}};
    }
    return choices;
}

/** Returns "Automatic" and the usual ones, and the current one if it is another. */
CameraBar::Choices CameraBar::xBitRates() const {
    if (!xHasBitRate()) {
        return {};
    }
    std::set<int> rates{250'000, 500'000, 1'000'000, 2'000'000, 4'000'000, 8'000'000};
    if (!fIsAutomatic) {
        rates.insert(fCamera.fSettings.fBitRate);
    }
    Choices choices;
    choices += {tr("Automatic"), a_automatic,
                asToolTip(tr("As much as the network carries without delay").toStdString())};
    for (const int rate : rates) {
        choices += {bitRateName(rate), rate, {}};
    }
    return choices;
}

}  // namespace cameraviewer
