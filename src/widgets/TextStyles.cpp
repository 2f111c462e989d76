// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/TextStyles.h"

#include <QApplication>

namespace kestrel::textStyles {

namespace {

QFont scaled(qreal factor, QFont::Weight weight = QFont::Normal)
{
    QFont font = QApplication::font();
    font.setPointSizeF(font.pointSizeF() * factor);
    font.setWeight(weight);
    return font;
}

} // namespace

QFont body()
{
    return QApplication::font();
}

QFont headline()
{
    return scaled(1.0, QFont::DemiBold);
}

// The Mac's caption is 10/13 of its body; a Linux desktop font of 9 or 10 points is smaller
// to begin with, and that ratio would make captions hard to read.
QFont caption()
{
    return scaled(0.85);
}

QFont caption2()
{
    return scaled(0.8);
}

QFont title3()
{
    return scaled(15.0 / 13.0);
}

QFont fixed(int pixelSize, QFont::Weight weight)
{
    QFont font = QApplication::font();
    font.setPixelSize(pixelSize);
    font.setWeight(weight);
    return font;
}

} // namespace kestrel::textStyles
