// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

namespace kestrel {

class WallSettings;

// The row above the wall's tiles: "Sortierung", "Offline ausblenden" and the pictures a second
// of every tile, each stored as soon as it is chosen.
class WallBar : public QWidget
{
    Q_OBJECT

public:
    explicit WallBar(WallSettings &settings, QWidget *parent = nullptr);
};

} // namespace kestrel
