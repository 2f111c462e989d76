// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractButton>

namespace kestrel {

// A plain button that looks like a link: underlined text, elided in the middle when the space
// is short, so an address keeps both its host and its end.
class LinkButton : public QAbstractButton
{
    Q_OBJECT

public:
    explicit LinkButton(const QColor &color, QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    static QFont underlined(QFont font);

    QColor m_color;
};

} // namespace kestrel
