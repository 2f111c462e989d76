// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

namespace kestrel::test {

// A test table written as text, one row per line: fields parted by " | " and trimmed, the first
// naming the row, "-" for an empty field. Blank lines are skipped.
inline QList<QStringList> tableRows(QStringView table)
{
    QList<QStringList> rows;
    for (const QStringView line : table.split(u'\n')) {
        if (line.trimmed().isEmpty())
            continue;
        QStringList fields;
        for (const QStringView field : line.split(QStringLiteral(" | ")))
            fields << (field.trimmed() == u"-" ? QString() : field.trimmed().toString());
        rows << fields;
    }
    return rows;
}

} // namespace kestrel::test
