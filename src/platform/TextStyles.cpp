#include "platform/TextStyles.h"

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

QFont caption()
{
    return scaled(10.0 / 13.0);
}

QFont caption2()
{
    return scaled(9.5 / 13.0);
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
