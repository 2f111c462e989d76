// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/PrinterApi.h"

#include "settings/PrinterSettings.h"
#include "settings/SnapshotUrls.h"

#include <QCoreApplication>

namespace kestrel::printerApi {

std::optional<QUrl> url(const PrinterSettings &settings, const QString &path)
{
    return strictHttpUrl(QStringLiteral("http://") + settings.settledPrinterIP().trimmed() + path);
}

QByteArray keyHeaderValue(const QString &key)
{
    QByteArray value;
    for (const QChar character : key) {
        if (character.unicode() > 0x20 && character.unicode() < 0x7f)
            value += char(character.unicode());
    }
    return value;
}

QByteArray curlKeyConfig(const QString &key)
{
    QByteArray value = keyHeaderValue(key);
    if (value.isEmpty())
        return {};
    value.replace('\\', "\\\\").replace('"', "\\\"");
    return "header = \"X-Api-Key: " + value + "\"\n";
}

QString unauthorizedText()
{
    return QCoreApplication::translate("PrinterApi",
                                       "Nicht autorisiert – API-Schlüssel in den Einstellungen "
                                       "eintragen");
}

} // namespace kestrel::printerApi
