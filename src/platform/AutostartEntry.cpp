// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/AutostartEntry.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>

namespace kestrel::autostart {

QString entryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/autostart/kestrel.desktop");
}

bool isEnabled()
{
    return QFile::exists(entryPath());
}

bool setEnabled(bool enabled)
{
    const QString path = entryPath();
    if (!enabled)
        return !QFile::exists(path) || QFile::remove(path);
    if (!QDir().mkpath(QFileInfo(path).path()))
        return false;
    // The installed kestrel, found on the PATH as the application menu's entry finds it.
    const QByteArray entry = "[Desktop Entry]\n"
                             "Type=Application\n"
                             "Name=Kestrel\n"
                             "Comment=Druckerkameras in schwebenden Fenstern\n"
                             "Exec=kestrel --" +
                             hiddenOption.toUtf8() +
                             "\n"
                             "Icon=" KESTREL_APP_ID "\n"
                             "Terminal=false\n"
                             "X-GNOME-Autostart-enabled=true\n";
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(entry) == entry.size() && file.commit();
}

} // namespace kestrel::autostart
