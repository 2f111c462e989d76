// SPDX-License-Identifier: GPL-3.0-or-later
#include "stream/PictureDecoder.h"

#include "stream/JpegPicture.h"

#include <QCoreApplication>
#include <QThread>
#include <QThreadPool>
#include <QTransform>

#if defined(Q_OS_LINUX)
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace kestrel {

namespace {

// A JPEG decoder fills what is missing from a picture that was cut short with grey and merely
// warns. A whole JPEG ends in its end-of-image marker; some cameras pad after it.
bool endsWithEndOfImage(QByteArrayView bytes)
{
    QByteArrayView tail = bytes.last(std::min<qsizetype>(bytes.size(), 64));
    while (!tail.isEmpty() && (tail.back() == '\0' || QChar::isSpace(uchar(tail.back()))))
        tail.chop(1);
    return tail.endsWith("\xff\xd9");
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

// The size to decode a picture of `source` pixels at, before it is turned: fitted into the
// target, where a sideways camera fits its upright shape; empty for the full size.
QSize fittedSize(QSize source, const DecodeTarget &target)
{
    if (!target.size.isValid())
        return {};
    const bool sideways = target.orientation.isSideways();
    const QSize upright = sideways ? source.transposed() : source;
    // At least a pixel each way: a picture a thousand times wider than high still shows.
    const QSize fitted = upright.scaled(target.size, Qt::KeepAspectRatio).expandedTo({1, 1});
    return sideways ? fitted.transposed() : fitted;
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

std::optional<QImage> decodePicture(QByteArrayView bytes, const DecodeTarget &target)
{
    giveWayToTheGuiThread();
    // Cameras send JPEG, and only JPEG is read: Qt's other readers trust their input further,
    // and a PNG of a few hundred bytes made its reader take a gigabyte.
    const JpegPicture jpeg(bytes);
    if (!jpeg.size().isValid() || !endsWithEndOfImage(bytes))
        return std::nullopt;
    std::optional<QImage> image = jpeg.decode(fittedSize(jpeg.size(), target));
    if (!image)
        return std::nullopt;
    // Quarter turns and mirrors only move pixels; Qt does them without any resampling.
    const CameraOrientation &orientation = target.orientation;
    if (orientation.rotation != 0)
        image = image->transformed(QTransform().rotate(orientation.rotation));
    if (orientation.mirrorHorizontal || orientation.mirrorVertical)
        image->mirror(orientation.mirrorHorizontal, orientation.mirrorVertical);
    image->setDevicePixelRatio(target.devicePixelRatio);
    return image;
}

} // namespace kestrel
