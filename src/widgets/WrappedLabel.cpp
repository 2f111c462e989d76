// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/WrappedLabel.h"

#include <QEvent>

#include <utility>

namespace kestrel {

WrappedLabel::WrappedLabel(const QString &text, QWidget *parent) : QLabel(text, parent)
{
    setWordWrap(true);
}

int WrappedLabel::heightForWidth(int width) const
{
    if (text() != m_measuredText) {
        m_measuredText = text();
        m_measures.fill({});
    }
    for (const Measure &measure : m_measures) {
        if (measure.width == width)
            return measure.height;
    }
    Measure &measure =
        m_measures[std::exchange(m_nextMeasure, (m_nextMeasure + 1) % m_measures.size())];
    measure = {width, QLabel::heightForWidth(width)};
    return measure.height;
}

// What else the height depends on: the font and the margins, also a style sheet's.
void WrappedLabel::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange ||
        event->type() == QEvent::ContentsRectChange)
        m_measures.fill({});
    QLabel::changeEvent(event);
}

} // namespace kestrel
