// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDir>
#include <QTest>
#include <QWidget>

namespace kestrel::test {

// Leaves a PNG of the widget in the build folder's screens/, for people to look at.
inline void writePng(QWidget &widget, const QString &name)
{
    QDir().mkpath(QStringLiteral(KESTREL_SCREENSHOT_DIR));
    QVERIFY(widget.grab().save(QStringLiteral(KESTREL_SCREENSHOT_DIR "/%1.png").arg(name)));
}

} // namespace kestrel::test
