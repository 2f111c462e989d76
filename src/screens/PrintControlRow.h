// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class QLabel;

namespace kestrel {

class Printer;
class PrintControls;

// The print controls as a row of buttons under the print's line, each shown only where it
// applies, with why the last control failed beneath them. The row takes no room while it has
// nothing to offer or say.
class PrintControlRow : public QWidget
{
    Q_OBJECT

public:
    PrintControlRow(Printer &printer, QWidget *parent = nullptr);

private:
    void refresh();

    PrintControls *m_controls;
    QWidget *m_buttons;
    QLabel *m_failure;
};

} // namespace kestrel
