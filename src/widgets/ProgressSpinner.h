// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QTimer>
#include <QWidget>

namespace kestrel {

// The indeterminate circular spinner: twelve spokes whose brightness runs round. It only
// animates while it is visible, so a hidden spinner costs nothing.
class ProgressSpinner : public QWidget
{
    Q_OBJECT

public:
    explicit ProgressSpinner(const QColor &color, QWidget *parent = nullptr);

    QSize sizeHint() const override { return {28, 28}; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    QColor m_color;
    QTimer m_step;
    int m_phase = 0;
};

} // namespace kestrel
