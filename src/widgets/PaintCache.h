// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPixmap>

#include <functional>

class QPainter;
class QRect;
class QWidget;

namespace kestrel {

// A widget's rounded backgrounds and frames, drawn once per size and copied from then on. Qt
// fills an antialiased path span by span, and hands a large fill to helper threads that the GUI
// thread then waits for; behind a live picture that happened at every picture. A copy of a
// drawn pixmap is one plain blit.
class PaintCache
{
public:
    using Drawing = std::function<void(QPainter &)>;

    // Copies the exposed part of what `draw` paints over the widget's rectangle, drawn anew when
    // the widget's size, its pixel ratio or `look` (whatever else the drawing depends on) change.
    void paint(QPainter &painter, const QWidget &widget, const QRect &exposed, int look,
               const Drawing &draw);

private:
    QPixmap m_pixmap;
    int m_look = 0;
};

} // namespace kestrel
