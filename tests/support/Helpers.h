// SPDX-License-Identifier: GPL-3.0-or-later
// Small helpers the tests share.
#pragma once

#include <QByteArray>
#include <QSize>
#include <QStringList>

namespace kestrel::test {

// The command names of this process's direct children that still exist (zombies included),
// read from /proc: a run that is over must leave none behind.
QStringList childProcessNames();

// A small camera-like test picture as JPEG: a red-to-blue gradient with a white bar, so scaling
// and cropping show. Needs a QGuiApplication.
QByteArray testJpeg(QSize size = {640, 480});

// A test table written as text, one row per line: fields parted by " | " and trimmed, the first
// naming the row, "-" for an empty field. Blank lines are skipped.
QList<QStringList> tableRows(QStringView table);

} // namespace kestrel::test
