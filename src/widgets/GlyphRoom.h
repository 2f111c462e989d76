// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

namespace kestrel {

// Gives every label of the application room for the tallest glyphs of its font. A label is as
// tall as its font's ascent and descent, but with hinting the dots of a capital umlaut rise
// above the ascent ("Übersichtscam" lost them in every tight row); the room goes above the text.
class GlyphRoom : public QObject
{
    Q_OBJECT

public:
    // Watches every label of the application from now on, until it goes.
    GlyphRoom();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};

} // namespace kestrel
