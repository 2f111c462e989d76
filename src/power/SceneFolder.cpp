// SPDX-License-Identifier: GPL-3.0-or-later
#include "power/SceneFolder.h"

#include <QDir>
#include <QStandardPaths>

namespace kestrel::scenes {

namespace {

constexpr qsizetype longestName = 255; // bytes, the longest file name Linux file systems take

bool isControl(QChar c)
{
    return c.category() == QChar::Other_Control;
}

} // namespace

QString folder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/Kestrel/scenes");
}

QString shownPath(const QString &path)
{
    const QString home = QDir::homePath();
    if (path == home || path.startsWith(home + u'/'))
        return u'~' + path.mid(home.size());
    return path;
}

QString printable(const QString &name)
{
    QString shown;
    for (const QChar c : name) {
        // Control characters 0 to 31 have their own visible pictures from U+2400 on.
        shown += !isControl(c)        ? c
                 : c.unicode() < 0x20 ? QChar(0x2400 + c.unicode())
                                      : QChar(0xFFFD);
    }
    return shown;
}

std::optional<QString> nameProblem(const QString &name)
{
    const QString quoted = QStringLiteral("„%1“").arg(printable(name));
    if (name.isEmpty())
        return QStringLiteral("Kein Szenenname angegeben");
    if (name.contains(u'/'))
        return QStringLiteral("Szenenname %1 enthält „/“: eine Szene ist eine Datei direkt im "
                              "Szenenordner")
            .arg(quoted);
    if (name == u"." || name == u"..")
        return QStringLiteral("Szenenname %1 ist kein Dateiname").arg(quoted);
    if (name.startsWith(u'-'))
        return QStringLiteral("Szenenname %1 beginnt mit „-“ und sähe aus wie eine Option")
            .arg(quoted);
    if (std::any_of(name.begin(), name.end(), isControl))
        return QStringLiteral("Szenenname %1 enthält Steuerzeichen").arg(quoted);
    if (name.toUtf8().size() > longestName)
        return QStringLiteral("Szenenname ist länger als %1 Bytes").arg(longestName);
    return std::nullopt;
}

} // namespace kestrel::scenes
