// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/StartupInfoView.h"

#include "widgets/ButtonStyles.h"
#include "widgets/TextStyles.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWindow>

namespace kestrel {

StartupInfoView::StartupInfoView(const QString &question, std::function<void()> onStart,
                                 std::function<void()> onCancel, QWidget *parent,
                                 const QString &printerName)
    : QDialog(parent)
{
    const QString heading = printerName.isEmpty()
                                ? tr("Der 3D-Drucker antwortet nicht")
                                : tr("Der 3D-Drucker „%1“ antwortet nicht").arg(printerName);
    // It stands over the main window as a sheet does, but blocks nothing: a host that does not
    // answer is exactly when the menu and the settings are needed, to correct its address.
    setWindowModality(Qt::NonModal);
    setWindowFlag(Qt::WindowStaysOnTopHint); // never under the floating camera windows
    setWindowTitle(heading);
    setMinimumWidth(320);

    auto *layout = new QVBoxLayout(this);
    layout->setSpacing(16);
    layout->setContentsMargins(20, 20, 20, 20);
    auto *title = new QLabel(heading, this);
    QFont titleFont = textStyles::title3();
    titleFont.setBold(true);
    title->setFont(titleFont);
    title->setAlignment(Qt::AlignCenter);
    title->setWordWrap(true);
    layout->addWidget(title);
    auto *message = new QLabel(question, this);
    message->setWordWrap(true);
    message->setAlignment(Qt::AlignCenter);
    layout->addWidget(message);

    auto *cancel = new QPushButton(onStart ? tr("Abbrechen") : tr("Schließen"), this);
    cancel->setDefault(true);
    connect(cancel, &QPushButton::clicked, this, std::move(onCancel));
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cancel);
    if (onStart) {
        auto *start = new QPushButton(tr("Bis du sicher?"), this);
        start->setObjectName(QStringLiteral("destructive"));
        buttonStyles::makeDestructive(start);
        connect(start, &QPushButton::clicked, this, std::move(onStart));
        buttons->addWidget(start);
    }
    buttons->addStretch();
    layout->addLayout(buttons);
    // Whoever is typing an address or a name goes on typing; the sheet waits beside it.
    setAttribute(Qt::WA_ShowWithoutActivating,
                 qobject_cast<QLineEdit *>(QApplication::focusWidget()) != nullptr);
    // Windows that stay on top share one layer, where the last one clicked goes up: a click on
    // the wall or on a camera window would bury the question. It comes up again and leaves the
    // keyboard where it is; another printer's question is left to the user's order.
    connect(qApp, &QGuiApplication::focusWindowChanged, this, [this](QWindow *focused) {
        if (focused && isVisible() &&
            !qobject_cast<StartupInfoView *>(QWidget::find(focused->winId())))
            raise();
    });
}

} // namespace kestrel
