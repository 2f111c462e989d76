// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/GlyphRoom.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLabel>

#include <algorithm>

namespace kestrel {

GlyphRoom::GlyphRoom()
{
    QCoreApplication::instance()->installEventFilter(this);
}

bool GlyphRoom::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::Polish && event->type() != QEvent::FontChange)
        return false;
    auto *label = qobject_cast<QLabel *>(watched);
    if (!label || !label->pixmap().isNull())
        return false;
    const QFontMetrics metrics = label->fontMetrics();
    const int rise = -metrics.tightBoundingRect(QStringLiteral("ÄÖÜÅÉÎ")).top() - metrics.ascent();
    QMargins margins = label->contentsMargins();
    margins.setTop(std::max(rise, 0));
    label->setContentsMargins(margins);
    return false;
}

} // namespace kestrel
