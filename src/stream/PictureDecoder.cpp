// SPDX-License-Identifier: GPL-3.0-or-later
#include "stream/PictureDecoder.h"

#include <QCoreApplication>
#include <QIODevice>
#include <QImageReader>
#include <QThread>
#include <QThreadPool>
#include <QTransform>

#if defined(Q_OS_LINUX)
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace kestrel {

namespace {

// Qt's JPEG reader only warns about a picture that was cut short and fills the missing part
// with grey. A whole JPEG ends in its end-of-image marker; some cameras pad after it.
bool endsWithEndOfImage(QIODevice &device)
{
    constexpr qint64 tailSize = 64;
    const qint64 start = std::max<qint64>(device.size() - tailSize, 0);
    if (!device.seek(start))
        return false;
    QByteArray tail = device.read(tailSize);
    while (!tail.isEmpty() && (tail.back() == '\0' || QChar::isSpace(uchar(tail.back()))))
        tail.chop(1);
    return device.seek(0) && tail.endsWith("\xff\xd9");
}

// Qt's thread priorities mean nothing to Linux's normal scheduler, and its idle priority starves
// under load. A nice value is per thread there, and 5 weighs a third of the GUI thread's: set
// once on each thread that decodes.
void giveWayToTheGuiThread()
{
#if defined(Q_OS_LINUX)
    thread_local const int lowered = setpriority(PRIO_PROCESS, id_t(gettid()), 5);
    Q_UNUSED(lowered);
#endif
}

} // namespace

QThreadPool &decodingThreads()
{
    static QThreadPool *pool = [] {
        auto *threads = new QThreadPool(qApp);
        threads->setMaxThreadCount(std::max(1, QThread::idealThreadCount() - 1));
        return threads;
    }();
    return *pool;
}

std::optional<QImage> decodePicture(QIODevice &device, const DecodeTarget &target)
{
    giveWayToTheGuiThread();
    QImageReader reader(&device);
    if (reader.format() == "jpeg" && !endsWithEndOfImage(device))
        return std::nullopt;
    const CameraOrientation &orientation = target.orientation;
    const QSize sourceSize = reader.size();
    if (target.size.isValid() && sourceSize.isValid()) {
        // The JPEG decoder scales while it decodes, which is far cheaper than decoding the full
        // picture and shrinking it; it never enlarges. A sideways camera fits its upright shape.
        const QSize upright = orientation.isSideways() ? sourceSize.transposed() : sourceSize;
        const QSize fitted = upright.scaled(target.size, Qt::KeepAspectRatio);
        if (fitted.width() < upright.width() && !fitted.isEmpty()) {
            reader.setScaledSize(orientation.isSideways() ? fitted.transposed() : fitted);
            // Below 50 Qt's JPEG reader takes libjpeg's fast integer transform: some 15 % less
            // decoding per picture, and no difference one can see once the picture is shrunk.
            reader.setQuality(49);
        }
    }
    QImage image = reader.read();
    if (image.isNull())
        return std::nullopt;
    // Quarter turns and mirrors only move pixels; Qt does them without any resampling.
    if (orientation.rotation != 0)
        image = image.transformed(QTransform().rotate(orientation.rotation));
    if (orientation.mirrorHorizontal || orientation.mirrorVertical)
        image.mirror(orientation.mirrorHorizontal, orientation.mirrorVertical);
    image.setDevicePixelRatio(target.devicePixelRatio);
    return image;
}

} // namespace kestrel
