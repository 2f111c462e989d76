// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QWidget>

namespace kestrel {

// A small filled circle that shows a state by its colour.
class StatusDot : public QWidget
{
    Q_OBJECT

public:
    explicit StatusDot(int diameter, QWidget *parent = nullptr);

    void setColor(const QColor &color);
    QColor color() const { return m_color; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor m_color;
};

} // namespace kestrel
