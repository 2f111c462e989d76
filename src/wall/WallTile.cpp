// SPDX-License-Identifier: GPL-3.0-or-later
#include "wall/WallTile.h"

#include "camera/CameraWindowView.h"
#include "camera/PowerOffQuestion.h"
#include "camera/PrintControls.h"
#include "camera/PrintLineLabel.h"
#include "camera/SnapshotStreamView.h"
#include "printers/Printer.h"
#include "settings/SnapshotUrls.h"
#include "stream/PictureSource.h"
#include "widgets/StatusDot.h"
#include "widgets/SystemColors.h"
#include "widgets/TextStyles.h"

#include <QContextMenuEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPaintEvent>
#include <QPainter>

namespace kestrel {

namespace {

constexpr int padding = 10;

QColor tileColour()
{
    return QColor::fromRgbF(0.1, 0.11, 0.14);
}

QString colourRule(const QColor &colour)
{
    return QStringLiteral("color: %1;").arg(colour.name(QColor::HexArgb));
}

} // namespace

WallTile::WallTile(Printer &printer, QWidget *parent)
    : QFrame(parent), m_printer(printer), m_controls(new PrintControls(printer, this)),
      m_dot(new StatusDot(10, this)), m_name(new QLabel(this)), m_camera(new QLabel(this)),
      m_picture(new SnapshotStreamView(printer.monitor(), this)), m_line(new PrintLineLabel(this)),
      m_temperatures(new QLabel(this)),
      m_printPace(std::chrono::seconds(1), [this] { refreshPrint(); })
{
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    m_name->setFont(textStyles::headline());
    m_name->setStyleSheet(colourRule(Qt::white));
    m_name->setTextFormat(Qt::PlainText);
    m_camera->setFont(textStyles::caption());
    m_camera->setStyleSheet(colourRule(systemColors::white(0.6)));
    m_camera->setTextFormat(Qt::PlainText);
    auto *header = new QHBoxLayout;
    header->addWidget(m_dot);
    header->addWidget(m_name);
    header->addWidget(m_camera, 1);

    m_picture->setCornerRadius(6, tileColour());
    m_picture->setDimmedOnFailure(true);
    m_line->setFont(textStyles::caption());
    m_line->setStyleSheet(colourRule(systemColors::white(0.85)));
    m_temperatures->setFont(textStyles::caption2());
    m_temperatures->setStyleSheet(colourRule(systemColors::white(0.6)));
    // The rows of the wall stay even whether a printer prints or not.
    for (QWidget *text : {static_cast<QWidget *>(m_line), static_cast<QWidget *>(m_temperatures)}) {
        QSizePolicy policy = text->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        text->setSizePolicy(policy);
    }

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(padding, padding, padding, padding);
    layout->setSpacing(6);
    layout->addLayout(header);
    layout->addWidget(m_picture);
    layout->addWidget(m_line);
    layout->addWidget(m_temperatures);

    const PrinterSettings &settings = printer.settings();
    connect(&settings, &PrinterSettings::changed, this, &WallTile::refresh);
    connect(&settings, &PrinterSettings::printerIPSettled, this, &WallTile::refresh);
    connect(&printer.monitor(), &PiStatusMonitor::reachabilityChanged, this,
            &WallTile::refreshState);
    // A new state shows at once, new figures once a second: twenty printers' temperatures and
    // times change eighty times a second.
    connect(&printer.printStatus(), &PrintStatusClient::statusChanged, this, [this] {
        emit factsChanged();
        m_printPace.request(!m_printer.printStatus().line().sameStage(m_line->line()));
    });
    refresh();
    refreshState();
    refreshPrint();
    // The wall's source is there from the first refresh on; a notification may want its picture.
    connect(&m_picture->source(), &PictureSource::imageChanged, this,
            [this] { m_printer.recentPicture().remember(m_picture->source().image()); });
}

TileFacts WallTile::facts() const
{
    const PrintStatusClient &client = m_printer.printStatus();
    const PrintStatus status = client.status();
    return {status.state, m_printer.monitor().reachability().isUnreachable(),
            secondsLeft(status, client.slicerEstimate())};
}

void WallTile::setTileWidth(int width)
{
    setFixedWidth(width);
    const int pictureWidth = width - 2 * padding;
    m_picture->setFixedHeight(pictureWidth * 3 / 4);
    // Twenty printers change these texts twenty times a second even paced. A label of fixed size
    // asks no layout for room when its text changes; otherwise each change would lay out the
    // whole wall again, every tile's wrapped failure text included.
    for (QLabel *text : {static_cast<QLabel *>(m_line), m_temperatures})
        text->setFixedSize(pictureWidth, text->fontMetrics().height());
}

void WallTile::setPicturesPerSecond(double rate)
{
    m_picture->setTargetFPS(rate);
}

void WallTile::setInSight(bool inSight)
{
    m_picture->setInSight(inSight);
}

// The snapshot path even of a streaming camera: one still picture at a time is what a wall of
// many cameras can afford.
void WallTile::refresh()
{
    const PrinterSettings &settings = m_printer.settings();
    const Camera camera = settings.resolvedWallCamera();
    m_name->setText(settings.displayName());
    m_camera->setText(camera.name);
    m_picture->setOrientation(settings.orientation(camera.id));
    m_picture->setAddresses(makeSnapshotURLs(settings.watchedPrinterIP(), camera.snapshotPath),
                            PictureFeed::keptAlive);
    describe();
}

void WallTile::refreshState()
{
    m_dot->setColor(CameraWindowView::hostStateColor(m_printer.monitor().reachability()));
    describe();
    emit factsChanged();
}

void WallTile::refreshPrint()
{
    PrintStatusLine line = m_printer.printStatus().line();
    line.temperatures.clear(); // in their own row, in small type
    m_line->setLine(line);
    m_picture->setPrintProgress(line.progress);
    m_temperatures->setText(temperatureText(m_printer.printStatus().status()));
    describe();
}

// Read by screen readers, and how tests find a tile: "<printer> · <camera>", described by the
// print's line, or by what keeps the printer from answering.
void WallTile::describe()
{
    setAccessibleName(m_name->text() + QStringLiteral(" · ") + m_camera->text());
    const PiReachability reachability = m_printer.monitor().reachability();
    setAccessibleDescription(reachability.isUnreachable()
                                 ? tr("Raspberry Pi offline: %1").arg(reachability.reason())
                                 : m_printer.printStatus().line().text());
    setToolTip(accessibleDescription());
}

void WallTile::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        emit openRequested(&m_printer, m_printer.settings().wallCamera());
    QFrame::mouseReleaseEvent(event);
}

void WallTile::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter ||
        event->key() == Qt::Key_Space) {
        emit openRequested(&m_printer, m_printer.settings().wallCamera());
        return;
    }
    QFrame::keyPressEvent(event);
}

void WallTile::contextMenuEvent(QContextMenuEvent *event)
{
    QMenu menu(this);
    menu.addActions(m_controls->actions());
    menu.addSeparator();
    const HomeKitManager &power = m_printer.power();
    const QString name = m_printer.nameInTexts();
    if (m_printer.monitor().reachability().isUnreachable() && power.canPowerOn() &&
        m_printer.offersPowerOn()) {
        menu.addAction(tr("%1 einschalten").arg(name), this, [this] {
            m_printer.power().runShortcut(m_printer.settings().homeKitPowerOnSceneName());
        });
    } else if (power.shortcutsAvailable() && m_printer.offersPowerOff()) {
        menu.addAction(tr("%1 ausschalten…").arg(name), this,
                       [this] { askToPowerOff(window(), m_printer); });
    }
    QMenu *cameras = menu.addMenu(tr("Kamera"));
    PrinterSettings &settings = m_printer.settings();
    for (const Camera &camera : cameraCatalogue()) {
        QAction *choice = cameras->addAction(settings.resolvedCamera(camera).name);
        choice->setCheckable(true);
        choice->setChecked(camera.id == settings.wallCamera());
        connect(choice, &QAction::triggered, &settings,
                [&settings, id = camera.id] { settings.setWallCamera(id); });
    }
    menu.exec(event->globalPos());
}

void WallTile::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    m_background.paint(painter, *this, event->rect(), hasFocus(), [this](QPainter &background) {
        background.setPen(hasFocus() ? QPen(systemColors::white(0.5), 1.5) : Qt::NoPen);
        background.setBrush(tileColour());
        background.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 10, 10);
    });
}

} // namespace kestrel
