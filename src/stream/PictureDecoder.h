// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/CameraOrientation.h"

#include <QByteArrayView>
#include <QImage>
#include <QSize>

#include <optional>

class QThreadPool;

namespace kestrel {

// How a camera's picture is to arrive on screen: fitted into `size` (device pixels; empty for
// the full size) and turned upright.
struct DecodeTarget
{
    QSize size;
    qreal devicePixelRatio = 1.0;
    CameraOrientation orientation;
};

// Decodes one camera picture, straight to the size it is shown at and in the pixels a window
// paints, turned and mirrored; none for bytes that are no whole JPEG (one cut short included). Safe
// on any thread, and meant for the decoding threads: the thread it runs on gives way to the GUI
// thread from then on.
std::optional<QImage> decodePicture(QByteArrayView bytes, const DecodeTarget &target);

// The threads that decode pictures: one core fewer than the machine has, so that the GUI thread
// always finds one free, and a picture that waits is soon replaced by a newer one anyway. They
// run at a low priority that still gets its share: a busy machine (a slicer, a compiler) must
// slow the pictures down, not stop them, and the GUI thread goes first.
QThreadPool &decodingThreads();

} // namespace kestrel
