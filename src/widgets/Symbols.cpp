// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/Symbols.h"

#include <QHash>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cmath>

namespace kestrel::symbols {

QPixmap pixmap(const QString &name, const QColor &color, int size, qreal devicePixelRatio)
{
    static QHash<QString, QPixmap> cache;
    const QString key = QStringLiteral("%1|%2|%3|%4")
                            .arg(name, color.name(QColor::HexArgb))
                            .arg(size)
                            .arg(devicePixelRatio);
    if (const auto cached = cache.constFind(key); cached != cache.cend())
        return *cached;

    QSvgRenderer renderer(QStringLiteral(":/symbols/%1.svg").arg(name));
    Q_ASSERT_X(renderer.isValid(), "symbols::pixmap", qPrintable(name));
    const int pixels = int(std::ceil(size * devicePixelRatio));
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter);
    // The drawings are black; keep their coverage and paint it in the wanted colour.
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
    painter.end();

    QPixmap result = QPixmap::fromImage(image);
    result.setDevicePixelRatio(devicePixelRatio);
    cache.insert(key, result);
    return result;
}

} // namespace kestrel::symbols
