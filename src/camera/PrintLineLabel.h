// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/PrintStatus.h"

#include <QLabel>

namespace kestrel {

// The print's status line, fitted to the width it has: a long file name is shortened in the
// middle, and where even that is not enough the layers go first. Hidden while there is nothing
// to say.
class PrintLineLabel : public QLabel
{
    Q_OBJECT

public:
    explicit PrintLineLabel(QWidget *parent = nullptr);

    void setLine(const PrintStatusLine &line);
    const PrintStatusLine &line() const { return m_line; }
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void fit();

    PrintStatusLine m_line;
};

} // namespace kestrel
