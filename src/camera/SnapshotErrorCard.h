// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

class QBoxLayout;
class QLabel;

namespace kestrel {

// The card over a camera picture that says why no new picture comes: a symbol, a title and the
// detail, in white on translucent black.
class SnapshotErrorCard : public QFrame
{
    Q_OBJECT

public:
    explicit SnapshotErrorCard(QWidget *parent = nullptr);

    void present(const QString &symbol, const QString &title, const QString &detail);

    // Centres the card in `area`, as wide as its texts want but no wider than the area. The
    // symbol, the title and the whole detail always show: in a small window the card draws
    // closer to the edges, pads itself less and puts the symbol beside the title.
    void placeIn(const QRect &area);

    QString title() const;
    QString detail() const;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    struct Arrangement;
    QSize sizeIn(const QRect &area, const Arrangement &arrangement);

    QLabel *m_symbol;
    QLabel *m_title;
    QLabel *m_detail;
    QBoxLayout *m_heading;
    QString m_symbolName;
};

} // namespace kestrel
