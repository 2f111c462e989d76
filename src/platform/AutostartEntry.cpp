// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/AutostartEntry.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>

namespace kestrel::autostart {

namespace {

// The running program as the entry's Exec names it: "kestrel" where that is what the PATH finds
// (the installed one), its absolute path otherwise (a build folder, ~/.local/bin off the PATH),
// quoted as desktop entries quote an argument.
QByteArray program()
{
    const QString running = QFileInfo(QCoreApplication::applicationFilePath()).canonicalFilePath();
    const QString onPath = QStandardPaths::findExecutable(QStringLiteral("kestrel"));
    if (!onPath.isEmpty() && QFileInfo(onPath).canonicalFilePath() == running)
        return "kestrel";
    QByteArray path = running.toUtf8();
    path.replace('%', "%%");
    static const QByteArray reserved = " \t\n\"'\\><~|&;$*?#()`";
    if (std::none_of(path.cbegin(), path.cend(), [](char c) { return reserved.contains(c); }))
        return path;
    QByteArray quoted;
    for (const char c : std::as_const(path)) {
        if (c == '"' || c == '`' || c == '$' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    // The Exec value is a string too, whose own escapes double every backslash.
    return QByteArray('"' + quoted + '"').replace('\\', "\\\\");
}

} // namespace

QString entryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/autostart/kestrel.desktop");
}

// Desktops switch an entry off without removing it: "Hidden=true", or GNOME's own key.
bool isEnabled()
{
    QFile file(entryPath());
    if (!file.open(QIODevice::ReadOnly))
        return false;
    bool inEntry = false;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine(4096).trimmed();
        if (line.startsWith('['))
            inEntry = line == "[Desktop Entry]";
        const qsizetype equals = line.indexOf('=');
        if (!inEntry || equals < 0)
            continue;
        const QByteArray key = line.left(equals).trimmed();
        const QByteArray value = line.mid(equals + 1).trimmed().toLower();
        if ((key == "Hidden" && value == "true") ||
            (key == "X-GNOME-Autostart-enabled" && value == "false"))
            return false;
    }
    return true;
}

bool setEnabled(bool enabled)
{
    const QString path = entryPath();
    if (!enabled)
        return !QFile::exists(path) || QFile::remove(path);
    if (!QDir().mkpath(QFileInfo(path).path()))
        return false;
    const QByteArray entry = "[Desktop Entry]\n"
                             "Type=Application\n"
                             "Name=Kestrel\n"
                             "Comment=Druckerkameras in schwebenden Fenstern\n"
                             "Exec=" +
                             program() + " --" + hiddenOption.toUtf8() +
                             "\n"
                             "Icon=" KESTREL_APP_ID "\n"
                             "Terminal=false\n"
                             "X-GNOME-Autostart-enabled=true\n";
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(entry) == entry.size() && file.commit();
}

} // namespace kestrel::autostart
