// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QImage>
#include <QSize>

#include <optional>

namespace kestrel {

// One JPEG as a camera sends it, decoded by libjpeg-turbo straight into the pixels a window
// paints. Reading the header costs next to nothing, so the caller learns the picture's size
// before it says what size it wants.
class JpegPicture
{
public:
    // No camera sends more; a header that claims more is a broken or hostile picture, and
    // decoding it would ask for gigabytes.
    static constexpr int largestSide = 8192;
    static constexpr qint64 largestPixelCount = 32 << 20;
    // A picture this close to the wanted size is shown as decoded: the pixel or two it is larger
    // is cut at the edge, which nobody sees, and it saves a pass over every pixel.
    static constexpr int unscaledSlack = 2;

    // Reads the header only; the bytes must outlive the picture.
    explicit JpegPicture(QByteArrayView bytes);

    // The picture's size, or an empty one for bytes that are no JPEG or too large a one.
    QSize size() const { return m_size; }

    // The size the decoder delivers for `wanted` by itself: the smallest of its fast DCT scales
    // (1/1, 1/2, 1/4, 1/8) that is no smaller than wanted; the full size when none is wanted. It
    // never enlarges.
    static QSize decodedSize(QSize source, QSize wanted);

    // Decoded to `wanted` (within the slack), scaled once where the DCT alone cannot get there;
    // none for a picture libjpeg-turbo cannot decode. Its own warnings (extra bytes between
    // markers, which some cameras always send) still give the picture.
    std::optional<QImage> decode(QSize wanted) const;

private:
    QByteArrayView m_bytes;
    QSize m_size;
};

} // namespace kestrel
