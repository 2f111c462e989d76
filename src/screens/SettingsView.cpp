// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/SettingsView.h"

#include "platform/AutostartEntry.h"
#include "printers/PrinterList.h"
#include "screens/PrinterPage.h"
#include "settings/AppSettings.h"
#include "widgets/ConfirmationAlert.h"
#include "windows/DesktopWindow.h"
#include "windows/ScreenFrames.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QStyle>
#include <QVBoxLayout>

namespace kestrel {

namespace {
constexpr int pageWidth = 560;
constexpr int listWidth = 190;
constexpr int margin = 20;
constexpr int spacing = 16;
} // namespace

SettingsView::SettingsView(PrinterList &printers, QWidget *parent)
    : QWidget(parent), m_printers(printers), m_pageRow(new QHBoxLayout)
{
    setWindowTitle(tr("Einstellungen"));
    auto *form = new QWidget;
    auto *sections = new QVBoxLayout(form);
    sections->setContentsMargins(margin, margin, margin, margin);
    sections->setSpacing(spacing);
    sections->addWidget(globalSection());
    m_pageRow->setSpacing(spacing);
    m_pageRow->addWidget(printerListColumn(), 0, Qt::AlignTop);
    sections->addLayout(m_pageRow);
    sections->addStretch();

    // The form is as tall as its content; on a small screen it scrolls instead of running off.
    auto *scroll = new QScrollArea(this);
    scroll->setWidget(form);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(scroll);
    const int formWidth = 2 * margin + listWidth + spacing + pageWidth;
    form->setFixedWidth(formWidth);
    setFixedWidth(formWidth + scroll->verticalScrollBar()->sizeHint().width());

    // Closes like any settings window: Escape, or the platform's close shortcut (Ctrl+W).
    for (const QKeySequence &keys :
         {QKeySequence(Qt::Key_Escape), QKeySequence(QKeySequence::Close)})
        connect(new QShortcut(keys, this), &QShortcut::activated, this, &QWidget::close);

    AppSettings &settings = printers.settings();
    connect(&settings, &AppSettings::changed, this, &SettingsView::refreshGlobals);
    connect(&printers, &PrinterList::printerAdded, this, &SettingsView::refreshList);
    // Queued: the printer that goes is still in the list while it is announced.
    connect(&printers, &PrinterList::printerRemoving, this, &SettingsView::refreshList,
            Qt::QueuedConnection);
    refreshGlobals();
    refreshList();
    fitHeightToScreen();
}

QWidget *SettingsView::globalSection()
{
    AppSettings &settings = m_printers.settings();
    auto *box = new QGroupBox(tr("Für alle Drucker"));
    auto *form = new QVBoxLayout(box);
    m_alwaysOnTop = new QCheckBox(tr("Fenster immer oben halten"), box);
    connect(m_alwaysOnTop, &QCheckBox::toggled, this,
            [&settings](bool on) { settings.setAlwaysOnTop(on); });
    form->addWidget(m_alwaysOnTop);
    m_notifyPrintEvents = new QCheckBox(tr("Druckereignisse melden"), box);
    connect(m_notifyPrintEvents, &QCheckBox::toggled, this,
            [&settings](bool on) { settings.setNotifyPrintEvents(on); });
    form->addWidget(m_notifyPrintEvents);
#if defined(Q_OS_LINUX)
    m_autostart = new QCheckBox(tr("Beim Anmelden starten"), box);
    connect(m_autostart, &QCheckBox::toggled, this, [this](bool on) {
        autostart::setEnabled(on);
        showAutostart(); // what the autostart folder now holds, also when writing failed
    });
    form->addWidget(m_autostart);
#endif
    return box;
}

QWidget *SettingsView::printerListColumn()
{
    auto *column = new QWidget;
    column->setFixedWidth(listWidth);
    auto *layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 6, 0, 0);
    m_list = new QListWidget(column);
    m_list->setAccessibleName(tr("Drucker"));
    m_list->setSizeAdjustPolicy(QAbstractScrollArea::AdjustToContents);
    connect(m_list, &QListWidget::currentRowChanged, this, [this](int row) {
        if (row >= 0 && row < m_printers.printers().size())
            showPage(m_printers.printers().at(row));
    });
    auto *add = new QPushButton(tr("Drucker hinzufügen"), column);
    connect(add, &QPushButton::clicked, this, [this] {
        const qsizetype number = m_printers.printers().size() + 1;
        PrinterSettings &added = m_printers.settings().addPrinter(tr("Drucker %1").arg(number));
        choosePrinter(added.printerID());
    });
    m_remove = new QPushButton(tr("Drucker entfernen…"), column);
    connect(m_remove, &QPushButton::clicked, this, &SettingsView::askToRemove);
    layout->addWidget(m_list);
    layout->addWidget(add);
    layout->addWidget(m_remove);
    return column;
}

void SettingsView::choosePrinter(const QString &printerID)
{
    if (Printer *printer = m_printers.printer(printerID))
        m_list->setCurrentRow(int(m_printers.indexOf(*printer)));
}

void SettingsView::showPage(Printer *printer)
{
    if (m_page && &m_page->printer() == printer)
        return;
    delete m_page;
    m_page = new PrinterPage(*printer, m_printers);
    m_page->setFixedWidth(pageWidth);
    connect(m_page, &PrinterPage::camerasTakenOver, this,
            [this, printer] { emit camerasTakenOver(printer); });
    m_pageRow->addWidget(m_page, 0, Qt::AlignTop);
    m_page->show(); // now, so that the height below is the new page's

    // The first printer stays: it is the one Kestrel always had.
    m_remove->setEnabled(printer != &m_printers.first());
    alignFieldColumns();
    if (isVisible())
        fitHeightToScreen();
}

// One line per printer, named as its windows are; a name typed in the page shows at once.
void SettingsView::refreshList()
{
    const QSignalBlocker blocker(m_list);
    const QList<Printer *> &printers = m_printers.printers();
    m_list->clear();
    for (const Printer *printer : printers) {
        m_list->addItem(printer->settings().displayName());
        connect(&printer->settings(), &PrinterSettings::changed, this, &SettingsView::refreshList,
                Qt::UniqueConnection);
    }
    const qsizetype shown = m_page ? printers.indexOf(&m_page->printer()) : -1;
    if (shown < 0)
        showPage(&m_printers.first());
    m_list->setCurrentRow(int(std::max<qsizetype>(shown, 0)));
}

void SettingsView::refreshGlobals()
{
    const AppSettings &settings = m_printers.settings();
    for (const auto &[box, on] : {std::pair{m_alwaysOnTop, settings.alwaysOnTop()},
                                  {m_notifyPrintEvents, settings.notifyPrintEvents()}}) {
        const QSignalBlocker blocker(box); // showing a value is no assignment
        box->setChecked(on);
    }
}

void SettingsView::askToRemove()
{
    if (!m_page)
        return;
    const QString id = m_page->printer().id();
    const QString name = m_page->printer().settings().displayName();
    confirmDestructive(this, tr("Drucker „%1“ entfernen?").arg(name),
                       tr("Seine Kamerafenster schließen sich, und seine Einstellungen werden "
                          "gelöscht."),
                       tr("Entfernen"), [this, id] {
                           // Away from its page first: the page works with the printer.
                           choosePrinter({});
                           m_printers.settings().removePrinter(id);
                       });
}

// The fields of all sections start at one column, the one the longest label needs.
void SettingsView::alignFieldColumns()
{
    QList<QWidget *> labels;
    int widest = 0;
    for (const QFormLayout *form : m_page->findChildren<QFormLayout *>()) {
        for (int row = 0; row < form->rowCount(); ++row) {
            const QLayoutItem *item = form->itemAt(row, QFormLayout::LabelRole);
            if (QWidget *label = item ? item->widget() : nullptr) {
                labels.append(label);
                widest = std::max(widest, label->sizeHint().width());
            }
        }
    }
    for (QWidget *label : std::as_const(labels))
        label->setMinimumWidth(widest);
}

// As tall as the form, unless the screen is smaller: then the form scrolls. The whole frame,
// title bar and borders included, stays inside the screen's free area; the frame is known only
// once the window manager has drawn it, and until then the style's title bar is a guess.
void SettingsView::fitHeightToScreen()
{
    const QWidget *form = findChild<QScrollArea *>()->widget();
    const QScreen *shown = screen();
    if (!shown) {
        resize(width(), form->sizeHint().height());
        return;
    }
    const QMargins margins = screenFrames::frameMargins(this);
    const int decoration = margins.isNull() ? style()->pixelMetric(QStyle::PM_TitleBarHeight)
                                            : margins.top() + margins.bottom();
    const QRect available = shown->availableGeometry();
    resize(width(), std::min(form->sizeHint().height(), available.height() - decoration));
    const QRect frame = frameGeometry();
    if (!margins.isNull() && !available.contains(frame)) {
        move(std::clamp(frame.x(), available.left(), available.right() + 1 - frame.width()),
             std::clamp(frame.y(), available.top(), available.bottom() + 1 - frame.height()));
    }
}

// The entry is the setting: the desktop's own autostart manager may have changed it meanwhile.
void SettingsView::showAutostart()
{
    if (!m_autostart)
        return;
    const QSignalBlocker blocker(m_autostart);
    m_autostart->setChecked(autostart::isEnabled());
}

void SettingsView::showEvent(QShowEvent *)
{
    showAutostart();
    fitHeightToScreen();
    if (!std::exchange(m_watchingFrame, true))
        desktopWindow::watchFrame(this, [this] { fitHeightToScreen(); });
}

} // namespace kestrel
