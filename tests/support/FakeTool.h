// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace kestrel::test {

// A stand-in for an external program: a small /bin/sh script in a test's temporary folder that
// records every argument vector it is called with, then runs the body the test gives it.
class FakeTool
{
public:
    FakeTool(const QString &directory, const QString &name, const QString &body);

    QString path() const { return m_path; }

    // Swaps in a new body without disturbing runs that are already going.
    void replace(const QString &body);

    // Every call so far, oldest first, each as the exact argument vector.
    QList<QStringList> calls() const;

private:
    QString m_path;
};

} // namespace kestrel::test
