// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLockFile>
#include <QObject>

class QLocalServer;

namespace kestrel {

// One Kestrel per user: the first one listens on a local socket, a later one only asks it to
// come forward and then ends, so no second set of windows fights over the same settings file.
class SingleInstance : public QObject
{
    Q_OBJECT

public:
    explicit SingleInstance(QObject *parent = nullptr);

    // False when another Kestrel of this user already runs; it has been asked to come forward.
    bool isFirst() const { return m_server != nullptr; }

signals:
    void anotherLaunch();

private:
    QLockFile m_lock;
    QLocalServer *m_server = nullptr;
};

} // namespace kestrel
