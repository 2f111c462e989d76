// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/PrintControlRow.h"

#include "camera/PrintControls.h"
#include "widgets/ButtonStyles.h"
#include "widgets/SystemColors.h"
#include "widgets/TextStyles.h"

#include <QAction>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace kestrel {

PrintControlRow::PrintControlRow(Printer &printer, QWidget *parent)
    : QWidget(parent), m_controls(new PrintControls(printer, this)), m_buttons(new QWidget(this)),
      m_failure(new QLabel(this))
{
    auto *buttons = new QHBoxLayout(m_buttons);
    buttons->setContentsMargins(0, 0, 0, 0);
    const QList<QAction *> &actions = m_controls->actions();
    for (QAction *action : actions) {
        auto *button = new QPushButton(action->text(), m_buttons);
        button->setFont(textStyles::caption());
        button->setAccessibleName(action->text());
        connect(button, &QPushButton::clicked, action, &QAction::trigger);
        connect(action, &QAction::changed, button, [this, button, action] {
            button->setVisible(action->isVisible());
            button->setEnabled(action->isEnabled());
            refresh();
        });
        button->setVisible(action->isVisible());
        // The one that cannot be undone.
        if (action == m_controls->action(PrintControl::emergencyStop))
            buttonStyles::makeDestructive(button);
        buttons->addWidget(button);
    }
    buttons->addStretch();

    m_failure->setFont(textStyles::caption());
    m_failure->setWordWrap(true);
    QPalette red = m_failure->palette();
    red.setColor(QPalette::WindowText, systemColors::red());
    m_failure->setPalette(red);
    connect(m_controls, &PrintControls::failureChanged, this, &PrintControlRow::refresh);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(m_buttons);
    layout->addWidget(m_failure);
    refresh();
}

void PrintControlRow::refresh()
{
    const QList<QAction *> &actions = m_controls->actions();
    const bool offers = std::any_of(actions.begin(), actions.end(),
                                    [](const QAction *action) { return action->isVisible(); });
    m_buttons->setVisible(offers);
    const QString failure = m_controls->failure();
    m_failure->setText(failure);
    m_failure->setVisible(!failure.isEmpty());
    setVisible(offers || !failure.isEmpty());
    updateGeometry();
}

} // namespace kestrel
