// SPDX-License-Identifier: GPL-3.0-or-later
#include "stream/JpegPicture.h"

#include <QSysInfo>

#include <turbojpeg.h>

#include <memory>

namespace kestrel {

namespace {

// One decompressor per decoding thread, made once: making one allocates libjpeg's tables. After
// a picture it could not read it is made anew, since it keeps that picture's broken state and
// would refuse every picture after it.
using Decompressor = std::unique_ptr<void, int (*)(tjhandle)>;

Decompressor &threadDecompressor()
{
    thread_local Decompressor handle(nullptr, tjDestroy);
    if (!handle)
        handle.reset(tjInitDecompress());
    return handle;
}

const unsigned char *jpegBytes(QByteArrayView bytes)
{
    return reinterpret_cast<const unsigned char *>(bytes.data());
}

// QImage's 32-bit RGB is 0xffRRGGBB in a native word, the layout the window system paints
// without converting.
constexpr int paintedPixels = QSysInfo::ByteOrder == QSysInfo::LittleEndian ? TJPF_BGRX : TJPF_XRGB;

// The fast transform and plain upsampling: no difference one can see once the picture is shrunk.
// A progressive JPEG with a flood of scans is refused.
constexpr int decodeFlags = TJFLAG_FASTDCT | TJFLAG_FASTUPSAMPLE | TJFLAG_LIMITSCANS;

} // namespace

JpegPicture::JpegPicture(QByteArrayView bytes) : m_bytes(bytes)
{
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colourSpace = 0;
    Decompressor &decompressor = threadDecompressor();
    if (!decompressor)
        return;
    if (tjDecompressHeader3(decompressor.get(), jpegBytes(bytes),
                            static_cast<unsigned long>(bytes.size()), &width, &height, &subsampling,
                            &colourSpace) != 0) {
        decompressor.reset();
        return;
    }
    if (width <= 0 || height <= 0 || width > largestSide || height > largestSide ||
        qint64(width) * height > largestPixelCount)
        return;
    m_size = QSize(width, height);
}

// Only the power-of-two scales: libjpeg-turbo's other eighths have no SIMD code and cost more
// than the larger picture they save.
QSize JpegPicture::decodedSize(QSize source, QSize wanted)
{
    QSize decoded = source;
    if (wanted.isEmpty())
        return decoded;
    for (const int denominator : {2, 4, 8}) {
        const tjscalingfactor factor{1, denominator};
        const QSize scaled(TJSCALED(source.width(), factor), TJSCALED(source.height(), factor));
        if (scaled.width() < wanted.width() || scaled.height() < wanted.height())
            break;
        decoded = scaled;
    }
    return decoded;
}

std::optional<QImage> JpegPicture::decode(QSize wanted) const
{
    if (m_size.isEmpty())
        return std::nullopt;
    const QSize target = wanted.isEmpty() ? m_size : wanted.boundedTo(m_size);
    const QSize decoded = decodedSize(m_size, target);
    QImage image(decoded, QImage::Format_RGB32);
    if (image.isNull())
        return std::nullopt;
    Decompressor &decompressor = threadDecompressor();
    if (!decompressor)
        return std::nullopt;
    if (tjDecompress2(decompressor.get(), jpegBytes(m_bytes),
                      static_cast<unsigned long>(m_bytes.size()), image.bits(), decoded.width(),
                      int(image.bytesPerLine()), decoded.height(), paintedPixels,
                      decodeFlags) != 0 &&
        tjGetErrorCode(decompressor.get()) != TJERR_WARNING) {
        decompressor.reset();
        return std::nullopt;
    }
    if (decoded.width() - target.width() <= unscaledSlack &&
        decoded.height() - target.height() <= unscaledSlack)
        return image;
    // Nearest pixels: from a picture under twice the size, as good as a smooth scale once
    // painted, at a fraction of its cost.
    return image.scaled(target, Qt::IgnoreAspectRatio, Qt::FastTransformation);
}

} // namespace kestrel
