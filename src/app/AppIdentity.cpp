// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AppIdentity.h"

#include <QGuiApplication>
#include <QIcon>

namespace kestrel::appIdentity {

void apply()
{
    // No organisation name, so no extra folder level: ~/.config/Kestrel/settings.json.
    QGuiApplication::setApplicationName(QStringLiteral("Kestrel"));
    // Wayland's app id and the window-to-launcher match of task bars; the installed entry,
    // icon and metainfo all carry this name.
    QGuiApplication::setDesktopFileName(QStringLiteral(KESTREL_APP_ID));
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/kestrel.svg")));
}

} // namespace kestrel::appIdentity
