// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QSize>

namespace kestrel::test {

// A small camera-like test picture as JPEG: a red-to-blue gradient with a white bar, so scaling
// and cropping show in screenshots. Needs a QGuiApplication.
QByteArray testJpeg(QSize size = {640, 480});

} // namespace kestrel::test
