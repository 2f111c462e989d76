#pragma once

#include <QFrame>

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

    // Centres the card in `area`, as wide as its texts want but no wider than the area; long
    // details wrap, and a card that does not fit gives up its symbol, then the detail's wrap.
    void placeIn(const QRect &area);

    QString title() const;
    QString detail() const;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QLabel *m_symbol;
    QLabel *m_title;
    QLabel *m_detail;
    QString m_symbolName;
    QString m_detailText; // in full; the label may show it elided
};

} // namespace kestrel
