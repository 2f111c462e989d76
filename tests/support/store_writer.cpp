// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/JsonFileKeyValueStore.h"

#include <QCoreApplication>
#include <QTextStream>

#include <cstdio>

// Usage: store_writer <settings file>
// Writes a large value over and over and prints one line per finished write.
int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc != 2)
        return 2;
    kestrel::JsonFileKeyValueStore store(QString::fromLocal8Bit(argv[1]));
    const QString payload(512 * 1024, u'x');
    for (qint64 round = 0;; ++round) {
        store.setValue(QStringLiteral("round"), QVariant::fromValue(round));
        store.setValue(QStringLiteral("payload"), payload);
        store.flush();
        std::printf("%lld\n", static_cast<long long>(round));
        std::fflush(stdout);
    }
}
