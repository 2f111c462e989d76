// SPDX-License-Identifier: GPL-3.0-or-later
#include "camera/CameraWindowView.h"

#include "camera/CameraMenuButton.h"
#include "camera/PictureArea.h"
#include "camera/PowerOffQuestion.h"
#include "camera/PrintControls.h"
#include "camera/PrintLineLabel.h"
#include "printers/Printer.h"
#include "settings/AppSettings.h"
#include "settings/SnapshotUrls.h"
#include "stream/PictureRate.h"
#include "stream/SnapshotLoader.h"
#include "widgets/LinkButton.h"
#include "widgets/StatusDot.h"
#include "widgets/Symbols.h"
#include "widgets/SystemColors.h"
#include "widgets/TextStyles.h"
#include "widgets/WrappedLabel.h"

#include <QDesktopServices>
#include <QLabel>
#include <QLinearGradient>
#include <QMenu>
#include <QPaintEvent>
#include <QPainter>
#include <QShortcut>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace kestrel {

namespace {
constexpr int outerPadding = 8;
constexpr int cardPadding = 14;
constexpr qreal cardRadius = 14;
} // namespace

CameraWindowView::CameraWindowView(const Camera &camera, const CameraWindowEnvironment &environment,
                                   PrintControls &controls, QWidget *parent)
    : QWidget(parent), m_camera(camera), m_environment(environment),
      m_cameraMenuButton(new CameraMenuButton(camera.name, this)), m_cameraMenu(new QMenu(this)),
      m_statusDot(new StatusDot(10, this)),
      m_pictureArea(
          new PictureArea(environment.printer.monitor(), environment.curlPath, camera.fps, this)),
      m_footer(new LinkButton(systemColors::white(0.6), this)), m_caption(new QLabel(this)),
      m_printLine(new PrintLineLabel(this)), m_controls(controls),
      m_controlNote(new WrappedLabel(QString(), this)), m_pictureRate(new QLabel(this)),
      m_pictureRateTimer(new QTimer(this)), m_powerButton(new QToolButton(this))
{
    setMinimumSize(320, 220);

    auto *titleBlock = new QVBoxLayout;
    titleBlock->setSpacing(4);
    m_cameraMenuButton->setMenu(m_cameraMenu);
    titleBlock->addWidget(m_cameraMenuButton, 0, Qt::AlignLeft);
    m_caption->setFont(textStyles::caption());
    m_caption->setStyleSheet(
        QStringLiteral("color: %1;").arg(systemColors::white(0.72).name(QColor::HexArgb)));
    titleBlock->addWidget(m_caption);
    m_printLine->setFont(textStyles::caption());
    m_printLine->setStyleSheet(m_caption->styleSheet());
    titleBlock->addWidget(m_printLine);
    m_controlNote->setFont(textStyles::caption());
    connect(&m_controls, &PrintControls::noteChanged, this, &CameraWindowView::refreshControlNote);
    refreshControlNote();
    titleBlock->addWidget(m_controlNote);

    m_powerButton->setObjectName(QStringLiteral("powerButton"));
    m_powerButton->setAutoRaise(true);
    m_powerButton->setIcon(
        symbols::pixmap(QStringLiteral("power"), Qt::white, 18, devicePixelRatioF()));
    m_powerButton->setIconSize(QSize(18, 18));
    m_powerButton->setToolTip(tr("Drucker ausschalten"));
    m_powerButton->setAccessibleName(tr("Drucker ausschalten"));
    connect(m_powerButton, &QToolButton::clicked, this,
            [this] { askToPowerOff(window(), m_environment.printer); });
    // The window's default action: Return asks to switch the printer off, where it can.
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter}) {
        auto *shortcut = new QShortcut(QKeySequence(key), this);
        connect(shortcut, &QShortcut::activated, this, [this] {
            if (m_powerButton->isVisibleTo(this))
                askToPowerOff(window(), m_environment.printer);
        });
    }

    auto *header = new QHBoxLayout;
    header->addLayout(titleBlock, 1); // the print's line takes what the buttons leave
    header->addWidget(m_powerButton);
    header->addWidget(m_statusDot);

    m_footer->setFont(textStyles::caption2());
    connect(m_footer, &LinkButton::clicked, this, &CameraWindowView::openHostPage);
    m_pictureRate->setFont(textStyles::caption2());
    m_pictureRateTimer->setInterval(500);
    connect(m_pictureRateTimer, &QTimer::timeout, this, &CameraWindowView::refreshPictureRate);
    auto *footer = new QHBoxLayout;
    footer->addWidget(m_footer, 1);
    footer->addWidget(m_pictureRate);

    auto *card = new QVBoxLayout(this);
    card->setContentsMargins(outerPadding + cardPadding, outerPadding + cardPadding,
                             outerPadding + cardPadding, outerPadding + cardPadding);
    card->setSpacing(12);
    card->addLayout(header);
    card->addWidget(m_pictureArea, 1);
    card->addLayout(footer);

    connect(&environment.settings, &AppSettings::changed, this, &CameraWindowView::refresh);
    connect(&environment.printer.settings(), &PrinterSettings::changed, this,
            &CameraWindowView::refresh);
    connect(&environment.printer.settings(), &PrinterSettings::printerIPSettled, this,
            &CameraWindowView::refresh);
    connect(&environment.printer.monitor(), &PiStatusMonitor::reachabilityChanged, this,
            &CameraWindowView::refreshStatusDot);
    connect(&environment.printer.printStatus(), &PrintStatusClient::statusChanged, this,
            &CameraWindowView::refreshPrintStatus);
    refresh();
    refreshStatusDot();
    refreshPrintStatus();
}

// A failure in red; that a control still waits, or was not sent, in the caption's white.
void CameraWindowView::refreshControlNote()
{
    const PrintControls::Note note = m_controls.note();
    m_controlNote->setText(note.text);
    m_controlNote->setVisible(!note.text.isEmpty());
    const QColor colour = note.isFailure ? systemColors::red() : systemColors::white(0.72);
    m_controlNote->setStyleSheet(QStringLiteral("color: %1;").arg(colour.name(QColor::HexArgb)));
}

void CameraWindowView::refreshPrintStatus()
{
    const PrintStatusLine line = m_environment.printer.printStatus().line();
    m_printLine->setLine(line);
    m_pictureArea->setPrintProgress(line.progress);
}

QString CameraWindowView::caption(const Camera &camera, bool streaming)
{
    if (streaming)
        return tr("%1 • Live-Stream").arg(camera.resolution);
    return tr("%1 • Aktualisierung bis %2 FPS")
        .arg(camera.resolution)
        .arg(SnapshotLoader::shownRate(camera.fps));
}

// Formed anew from the shared settings on every change: a new address or name shows at once,
// and so does a camera switched between its stream and snapshots.
void CameraWindowView::refresh()
{
    const PrinterSettings &settings = m_environment.printer.settings();
    const QString streamPath = settings.cameraStreamPaths().value(m_camera.id);
    m_streaming = !streamPath.isEmpty();
    m_snapshotURLs = makeSnapshotURLs(settings.watchedPrinterIP(),
                                      m_streaming ? streamPath : m_camera.snapshotPath);
    m_caption->setText(caption(m_camera, m_streaming));
    m_powerButton->setVisible(m_environment.printer.offersPowerOff());
    m_pictureArea->setOrientation(settings.orientation(m_camera.id));
    m_pictureArea->setAddresses(m_snapshotURLs,
                                m_streaming ? PictureFeed::stream : PictureFeed::snapshots);
    m_footer->setVisible(!m_snapshotURLs.isEmpty());
    if (!m_snapshotURLs.isEmpty())
        m_footer->setText(absoluteString(m_snapshotURLs.first()));
    rebuildCameraMenu();
    const bool rateShown = m_environment.settings.showPictureRate();
    m_pictureRate->setVisible(rateShown);
    if (rateShown != m_pictureRateTimer->isActive())
        rateShown ? m_pictureRateTimer->start() : m_pictureRateTimer->stop();
    refreshPictureRate();
}

// Measured over the last three seconds; below half the rate the camera asks for, in orange. A
// stream comes at the camera's own rate, snapshots at most six a second.
void CameraWindowView::refreshPictureRate()
{
    const PictureSource *source = m_pictureArea->source();
    auto rate = source ? source->picturesPerSecond() : std::nullopt;
    if (!rate && source && source->errorText())
        rate = 0.0; // failing before its first picture: nothing arrives
    m_pictureRate->setText(rate ? pictureRateText(*rate) : QString());
    const qint64 asked = m_streaming ? m_camera.fps : SnapshotLoader::shownRate(m_camera.fps);
    const bool slow = rate && *rate < asked / 2.0;
    m_pictureRate->setStyleSheet(
        QStringLiteral("color: %1;")
            .arg((slow ? systemColors::orange() : systemColors::white(0.6)).name(QColor::HexArgb)));
}

void CameraWindowView::refreshStatusDot()
{
    m_statusDot->setColor(hostStateColor(m_environment.printer.monitor().reachability()));
}

QColor CameraWindowView::hostStateColor(const PiReachability &reachability)
{
    switch (reachability.kind()) {
    case PiReachability::Kind::checking:
        return systemColors::yellow();
    case PiReachability::Kind::reachable:
        return systemColors::green();
    case PiReachability::Kind::unreachable:
        break;
    }
    return systemColors::red();
}

void CameraWindowView::rebuildCameraMenu()
{
    m_cameraMenu->clear();
    const CameraTextMap customNames = m_environment.printer.settings().customCameraNames();
    for (const Camera &entry : cameraCatalogue()) {
        QAction *action = m_cameraMenu->addAction(customNames.value(entry.id, entry.name));
        connect(action, &QAction::triggered, this,
                [this, to = entry.id] { emit cameraSwitchRequested(m_camera.id, to); });
    }
    m_cameraMenu->addSeparator();
    QAction *rate = m_cameraMenu->addAction(tr("Bildrate anzeigen"));
    rate->setCheckable(true);
    rate->setChecked(m_environment.settings.showPictureRate());
    // Queued: storing the choice rebuilds this very menu.
    connect(rate, &QAction::toggled, &m_environment.settings, &AppSettings::setShowPictureRate,
            Qt::QueuedConnection);
    m_cameraMenu->addSeparator();
    m_cameraMenu->addActions(m_controls.actions());
}

// The link shows the snapshot address but leads to the host's own page, when there is one.
void CameraWindowView::openHostPage()
{
    const QString host = m_environment.printer.settings().watchedPrinterIP().trimmed();
    const auto page = strictHttpUrl(QStringLiteral("http://") + host + u'/');
    QDesktopServices::openUrl(page ? *page : m_snapshotURLs.value(0));
}

void CameraWindowView::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    m_card.paint(painter, *this, event->rect(), 0, [this](QPainter &card) {
        const QRectF area =
            QRectF(rect()).adjusted(outerPadding, outerPadding, -outerPadding, -outerPadding);
        QLinearGradient gradient(area.topLeft(), area.bottomRight());
        gradient.setColorAt(0, QColor::fromRgbF(0.1, 0.11, 0.14));
        gradient.setColorAt(1, Qt::black);
        card.setPen(Qt::NoPen);
        card.setBrush(gradient);
        card.drawRoundedRect(area, cardRadius, cardRadius);
    });
}

} // namespace kestrel
