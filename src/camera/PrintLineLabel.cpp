// SPDX-License-Identifier: GPL-3.0-or-later
#include "camera/PrintLineLabel.h"

namespace kestrel {

namespace {
constexpr int shortestFilename = 48; // pixels: a few letters at each end and the ellipsis
} // namespace

PrintLineLabel::PrintLineLabel(QWidget *parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    hide();
}

// A printer reports several times a second, mostly with nothing new to show; fitting a text to
// its width is the costly part, so the same line is not fitted again.
void PrintLineLabel::setLine(const PrintStatusLine &line)
{
    if (line == m_line)
        return;
    m_line = line;
    setVisible(!line.isEmpty());
    setToolTip(line.text());
    fit();
}

// The label takes the width it is given; the text fits itself to it.
QSize PrintLineLabel::minimumSizeHint() const
{
    return {0, QLabel::minimumSizeHint().height()};
}

void PrintLineLabel::resizeEvent(QResizeEvent *event)
{
    QLabel::resizeEvent(event);
    fit();
}

// The temperatures come only where the whole file name fits beside them; then the layers go,
// and last the file name is shortened in the middle.
void PrintLineLabel::fit()
{
    const QFontMetrics metrics = fontMetrics();
    const int room = contentsRect().width();
    const struct
    {
        QString rest;
        bool wholeName;
    } choices[] = {{m_line.tail + m_line.temperatures + m_line.layers, true},
                   {m_line.tail + m_line.layers, false},
                   {m_line.tail, false}};
    for (const auto &[rest, wholeName] : choices) {
        if (wholeName && m_line.temperatures.isEmpty())
            continue;
        const int forName = room - metrics.horizontalAdvance(m_line.lead + rest);
        if (metrics.horizontalAdvance(m_line.filename) <= forName ||
            (!wholeName && !m_line.filename.isEmpty() && forName >= shortestFilename)) {
            setText(m_line.lead + metrics.elidedText(m_line.filename, Qt::ElideMiddle, forName) +
                    rest);
            return;
        }
    }
    setText(metrics.elidedText(m_line.lead + m_line.filename + m_line.tail, Qt::ElideRight, room));
}

} // namespace kestrel
