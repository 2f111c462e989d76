// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/JsonFileKeyValueStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QSaveFile>
#include <QStandardPaths>

namespace kestrel {

// Off unless enabled (QT_LOGGING_RULES="kestrel.settings.debug=true"): one line per file
// write, which is how the benchmarks count them.
Q_LOGGING_CATEGORY(lcSettingsFile, "kestrel.settings", QtWarningMsg)

namespace {
// Our file holds a few short strings; anything this large was not written by us and is not read.
constexpr qint64 maximumFileSize = 16 * 1024 * 1024;
} // namespace

JsonFileKeyValueStore::JsonFileKeyValueStore(QString filePath, std::chrono::milliseconds writeDelay)
    : m_filePath(std::move(filePath))
{
    m_pendingWrite.setSingleShot(true);
    m_pendingWrite.setInterval(writeDelay);
    QObject::connect(&m_pendingWrite, &QTimer::timeout, [this] { write(); });
    load();
}

JsonFileKeyValueStore::~JsonFileKeyValueStore()
{
    flush();
}

void JsonFileKeyValueStore::flush()
{
    if (m_pendingWrite.isActive()) {
        m_pendingWrite.stop();
        write();
    }
}

QString JsonFileKeyValueStore::defaultFilePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) +
           QStringLiteral("/settings.json");
}

QVariant JsonFileKeyValueStore::value(const QString &key) const
{
    return m_values.value(key);
}

void JsonFileKeyValueStore::setValue(const QString &key, const QVariant &value)
{
    m_values.insert(key, value);
    if (!m_pendingWrite.isActive())
        m_pendingWrite.start();
}

void JsonFileKeyValueStore::load()
{
    QFile file(m_filePath);
    if (!file.exists())
        return;

    m_fileUnusable = true;
    if (file.size() > maximumFileSize || !file.open(QIODevice::ReadOnly))
        return;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return;

    m_values = document.object().toVariantMap();
    m_fileUnusable = false;
}

bool JsonFileKeyValueStore::moveUnusableFileAside()
{
    const QString aside = m_filePath + QStringLiteral(".corrupt");
    QFile::remove(aside);
    return QFile::rename(m_filePath, aside);
}

void JsonFileKeyValueStore::write()
{
    // Never overwrite a file we could not read: if it cannot be moved aside, the change stays in
    // memory for this run rather than destroying what the user had.
    if (m_fileUnusable) {
        if (!moveUnusableFileAside())
            return;
        m_fileUnusable = false;
    }

    QDir().mkpath(QFileInfo(m_filePath).absolutePath());
    QSaveFile file(m_filePath);
    if (!file.open(QIODevice::WriteOnly))
        return;
    // It holds the printer's API key: only its owner may read it, whatever the file before let.
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    file.write(
        QJsonDocument(QJsonObject::fromVariantMap(m_values)).toJson(QJsonDocument::Indented));
    file.commit();
    qCDebug(lcSettingsFile) << "written";
}

} // namespace kestrel
