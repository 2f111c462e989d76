#include "stream/SnapshotErrorCard.h"

#include "platform/Symbols.h"
#include "platform/TextStyles.h"

#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>

namespace kestrel {

namespace {
constexpr int symbolSize = 30; // matches a 26-point semibold symbol
}

SnapshotErrorCard::SnapshotErrorCard(QWidget *parent)
    : QFrame(parent), m_symbol(new QLabel(this)), m_title(new QLabel(this)),
      m_detail(new QLabel(this))
{
    setAttribute(Qt::WA_TranslucentBackground);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(8);
    for (QLabel *label : {m_symbol, m_title, m_detail}) {
        label->setAlignment(Qt::AlignCenter);
        layout->addWidget(label);
    }
    m_title->setFont(textStyles::headline());
    m_title->setStyleSheet(QStringLiteral("color: white;"));
    m_detail->setFont(textStyles::caption());
    m_detail->setStyleSheet(QStringLiteral("color: rgba(255, 255, 255, 0.75);"));
    m_detail->setWordWrap(true);
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
    m_detailText = detail;
    m_detail->setText(detail);
    show();
}

QString SnapshotErrorCard::title() const
{
    return m_title->text();
}

QString SnapshotErrorCard::detail() const
{
    return m_detailText;
}

// In a small window the full card may not fit: it then leaves out the symbol, and if that is
// not enough, keeps the detail to one line, elided.
void SnapshotErrorCard::placeIn(const QRect &area)
{
    const QMargins margins = layout()->contentsMargins();
    const int textWidth =
        std::max({m_title->fontMetrics().horizontalAdvance(m_title->text()),
                  m_detail->fontMetrics().horizontalAdvance(m_detailText), symbolSize});
    const int width =
        std::min(textWidth + margins.left() + margins.right() + 2, std::max(area.width(), 0));

    // Without wrapping text the layout has no height-for-width and answers -1.
    const auto heightAt = [this](int w) {
        const int height = heightForWidth(w);
        return height >= 0 ? height : sizeHint().height();
    };
    m_symbol->setVisible(true);
    m_detail->setWordWrap(true);
    m_detail->setText(m_detailText);
    if (heightAt(width) > area.height())
        m_symbol->setVisible(false);
    if (heightAt(width) > area.height()) {
        m_detail->setWordWrap(false);
        const int lineWidth = width - margins.left() - margins.right();
        m_detail->setText(
            m_detail->fontMetrics().elidedText(m_detailText, Qt::ElideRight, lineWidth));
    }
    QRect card(0, 0, width, std::min(heightAt(width), area.height()));
    card.moveCenter(area.center());
    setGeometry(card);
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
