// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ExternalTools.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace kestrel {

QString installedSceneRunner()
{
#if defined(Q_OS_LINUX)
    const QString here = QCoreApplication::applicationDirPath();
    const QFileInfo beside(here + QStringLiteral("/kestrel-scene"));
    if (beside.isExecutable())
        return beside.filePath();
    return QDir::cleanPath(here + QStringLiteral("/../libexec/kestrel/kestrel-scene"));
#else
    return {};
#endif
}

} // namespace kestrel
