// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QWidget>

class QLabel;
class QPushButton;

namespace kestrel {

class PrintControls;

// The print controls as a row of buttons under the print's line, each shown only where it
// applies, with the controls' note beneath them. The row takes no room while it has nothing to
// offer or say. The keyboard focus of a button that goes, or waits for its answer, never falls
// by itself onto the emergency stop.
class PrintControlRow : public QWidget
{
    Q_OBJECT

public:
    // The controls belong to the window, which keeps them while rows come and go.
    explicit PrintControlRow(PrintControls &controls, QWidget *parent = nullptr);

private:
    void follow();
    void refreshNote();

    PrintControls &m_controls;
    QList<QPushButton *> m_buttons; // in the order of the controls' actions
    QWidget *m_buttonRow;
    QLabel *m_note;
};

} // namespace kestrel
