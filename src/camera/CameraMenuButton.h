// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QToolButton>

namespace kestrel {

// The camera's name followed by a chevron, opening the menu of cameras to switch to.
class CameraMenuButton : public QToolButton
{
    Q_OBJECT

public:
    explicit CameraMenuButton(const QString &name, QWidget *parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    static constexpr int chevronSize = 12;
    static constexpr int chevronGap = 6;
};

} // namespace kestrel
