// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/PrintControlRow.h"

#include "camera/PrintControls.h"
#include "widgets/ButtonStyles.h"
#include "widgets/SystemColors.h"
#include "widgets/TextStyles.h"
#include "widgets/WrappedLabel.h"

#include <QAction>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace kestrel {

PrintControlRow::PrintControlRow(PrintControls &controls, QWidget *parent)
    : QWidget(parent), m_controls(controls), m_buttonRow(new QWidget(this)),
      m_note(new WrappedLabel(QString(), this))
{
    auto *buttons = new QHBoxLayout(m_buttonRow);
    buttons->setContentsMargins(0, 0, 0, 0);
    for (QAction *action : controls.actions()) {
        auto *button = new QPushButton(action->text(), m_buttonRow);
        button->setFont(textStyles::caption());
        button->setAccessibleName(action->text());
        connect(button, &QPushButton::clicked, action, &QAction::trigger);
        // The one that cannot be undone.
        if (action == controls.action(PrintControl::emergencyStop))
            buttonStyles::makeDestructive(button);
        buttons->addWidget(button);
        m_buttons.append(button);
        connect(action, &QAction::changed, this, &PrintControlRow::follow);
    }
    buttons->addStretch();

    m_note->setFont(textStyles::caption());
    connect(&controls, &PrintControls::noteChanged, this, &PrintControlRow::refreshNote);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(m_buttonRow);
    layout->addWidget(m_note);
    follow();
    refreshNote();
}

// A button that has the focus and is about to go, or to wait, hands it on first: Qt would pass
// it to the next button, which may be the emergency stop.
void PrintControlRow::follow()
{
    const QList<QAction *> &actions = m_controls.actions();
    const QAction *emergencyStop = m_controls.action(PrintControl::emergencyStop);
    const auto usable = [](const QAction *action) {
        return action->isVisible() && action->isEnabled();
    };
    for (qsizetype i = 0; i < m_buttons.size(); ++i) {
        if (!m_buttons[i]->hasFocus() || usable(actions[i]))
            continue;
        const auto safe = std::find_if(actions.begin(), actions.end(), [&](const QAction *action) {
            return action != emergencyStop && usable(action);
        });
        if (safe == actions.end()) {
            m_buttons[i]->clearFocus();
        } else {
            QPushButton *next = m_buttons[safe - actions.begin()];
            next->setVisible(true);
            next->setEnabled(true);
            next->setFocus(Qt::OtherFocusReason);
        }
    }
    bool offers = false;
    for (qsizetype i = 0; i < m_buttons.size(); ++i) {
        m_buttons[i]->setVisible(actions[i]->isVisible());
        m_buttons[i]->setEnabled(actions[i]->isEnabled());
        offers = offers || actions[i]->isVisible();
    }
    m_buttonRow->setVisible(offers);
    setVisible(offers || !m_note->text().isEmpty());
    updateGeometry();
}

void PrintControlRow::refreshNote()
{
    const PrintControls::Note note = m_controls.note();
    m_note->setText(note.text);
    m_note->setVisible(!note.text.isEmpty());
    QPalette palette = m_note->palette();
    palette.setColor(QPalette::WindowText, note.isFailure
                                               ? systemColors::red()
                                               : palette.color(QPalette::PlaceholderText));
    m_note->setPalette(palette);
    follow();
}

} // namespace kestrel
