// SPDX-License-Identifier: GPL-3.0-or-later
#include "camera/SnapshotErrorCard.h"

#include "widgets/Symbols.h"
#include "widgets/TextStyles.h"
#include "widgets/WrappedLabel.h"

#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>

namespace kestrel {

namespace {
constexpr int symbolSize = 30; // matches a 26-point semibold symbol
constexpr int cardSpacing = 8;
} // namespace

// How the card sits in its area, from the roomy one to the tightest.
struct SnapshotErrorCard::Arrangement
{
    int margin;  // around the card
    int padding; // inside it
    bool symbolBesideTitle;
};

SnapshotErrorCard::SnapshotErrorCard(QWidget *parent)
    : QFrame(parent), m_symbol(new QLabel(this)), m_title(new QLabel(this)),
      m_detail(new WrappedLabel(QString(), this)),
      m_heading(new QBoxLayout(QBoxLayout::TopToBottom))
{
    setAttribute(Qt::WA_TranslucentBackground);
    auto *layout = new QVBoxLayout(this);
    layout->setSpacing(cardSpacing);
    m_heading->setSpacing(cardSpacing);
    m_heading->addWidget(m_symbol, 0, Qt::AlignCenter);
    m_heading->addWidget(m_title, 0, Qt::AlignCenter);
    layout->addLayout(m_heading);
    layout->setAlignment(m_heading, Qt::AlignHCenter);
    layout->addWidget(m_detail);
    for (QLabel *label : {m_symbol, m_title, m_detail})
        label->setAlignment(Qt::AlignCenter);
    m_title->setFont(textStyles::headline());
    m_title->setStyleSheet(QStringLiteral("color: white;"));
    m_detail->setFont(textStyles::caption());
    m_detail->setStyleSheet(QStringLiteral("color: rgba(255, 255, 255, 0.75);"));
    m_detail->setTextFormat(Qt::PlainText);
    m_title->setTextFormat(Qt::PlainText);
}

void SnapshotErrorCard::present(const QString &symbol, const QString &title, const QString &detail)
{
    if (symbol != m_symbolName) {
        m_symbolName = symbol;
        m_symbol->setPixmap(symbols::pixmap(symbol, Qt::white, symbolSize, devicePixelRatioF()));
    }
    m_title->setText(title);
    m_detail->setText(detail);
    show();
}

QString SnapshotErrorCard::title() const
{
    return m_title->text();
}

QString SnapshotErrorCard::detail() const
{
    return m_detail->text();
}

void SnapshotErrorCard::placeIn(const QRect &area)
{
    static constexpr Arrangement arrangements[] = {
        {16, 16, false}, {8, 10, false}, {8, 10, true}, {0, 8, true}};
    QRect card;
    for (const Arrangement &arrangement : arrangements) {
        card = QRect(QPoint(), sizeIn(area, arrangement));
        if (card.height() <= area.height() - 2 * arrangement.margin)
            break;
    }
    card.setHeight(std::min(card.height(), area.height()));
    card.moveCenter(area.center());
    setGeometry(card);
}

// Arranges the card so and answers the size it then takes in `area`.
QSize SnapshotErrorCard::sizeIn(const QRect &area, const Arrangement &arrangement)
{
    layout()->setContentsMargins(arrangement.padding, arrangement.padding, arrangement.padding,
                                 arrangement.padding);
    m_heading->setDirection(arrangement.symbolBesideTitle ? QBoxLayout::LeftToRight
                                                          : QBoxLayout::TopToBottom);
    const int titleWidth = m_title->fontMetrics().horizontalAdvance(m_title->text());
    const int headingWidth = arrangement.symbolBesideTitle ? symbolSize + cardSpacing + titleWidth
                                                           : std::max(symbolSize, titleWidth);
    const int textWidth =
        std::max(headingWidth, m_detail->fontMetrics().horizontalAdvance(m_detail->text()));
    const int width = std::clamp(textWidth + 2 * arrangement.padding + 2, 0,
                                 std::max(area.width() - 2 * arrangement.margin, 0));
    layout()->activate();
    return {width, heightForWidth(width)};
}

void SnapshotErrorCard::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgbF(0, 0, 0, 0.55));
    painter.drawRoundedRect(rect(), 12, 12);
}

} // namespace kestrel
