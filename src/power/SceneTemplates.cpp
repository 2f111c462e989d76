// SPDX-License-Identifier: GPL-3.0-or-later
#include "power/SceneTemplates.h"

#include "power/SceneFolder.h"

#include <QDir>
#include <QFile>

namespace kestrel::scenes {

namespace {

const QString templates = QStringLiteral(":/scenes");

bool isConfig(const QString &name)
{
    return name.endsWith(u".conf");
}

} // namespace

std::optional<QString> prepareFolder(const QString &folder)
{
    const auto problem = [&folder] {
        return QStringLiteral("Der Szenenordner %1 lässt sich nicht anlegen oder beschreiben")
            .arg(shownPath(folder));
    };
    if (!QDir().mkpath(folder))
        return problem();
    const QDir target(folder);
    for (const QString &name : QDir(templates).entryList(QDir::Files, QDir::Name)) {
        const QString copy =
            target.filePath(isConfig(name) ? name : name + QStringLiteral(".beispiel"));
        if (isConfig(name) && QFile::exists(copy))
            continue;
        QFile::remove(copy);
        // A config may come to hold a password, so only the user may read it.
        const auto permissions = isConfig(name) ? QFile::ReadOwner | QFile::WriteOwner
                                                : QFile::ReadOwner | QFile::WriteOwner |
                                                      QFile::ReadGroup | QFile::ReadOther;
        if (!QFile::copy(templates + u'/' + name, copy) ||
            !QFile::setPermissions(copy, permissions))
            return problem();
    }
    return std::nullopt;
}

} // namespace kestrel::scenes
