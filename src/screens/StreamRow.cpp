// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/StreamRow.h"

#include "settings/PrinterSettings.h"
#include "widgets/SecondaryText.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

namespace kestrel {

namespace {

// A Crowsnest streamer serves its stream beside its snapshots, under the same path.
QString streamCounterpart(const QString &snapshotPath, const QString &fallback)
{
    QString stream = snapshotPath;
    stream.replace(QStringLiteral("action=snapshot"), QStringLiteral("action=stream"));
    return stream == snapshotPath ? fallback : stream;
}

} // namespace

StreamRow::StreamRow(PrinterSettings &settings, const Camera &camera, QWidget *parent)
    : QWidget(parent), m_settings(settings), m_camera(camera),
      m_live(new QCheckBox(tr("Live-Stream (MJPEG)"), this)), m_path(new QLineEdit(this))
{
    m_path->setAccessibleName(tr("Stream-Pfad") + u' ' + camera.name);
    auto *line = new QHBoxLayout;
    line->setContentsMargins(0, 0, 0, 0);
    line->addWidget(m_path, 1);
    line->addWidget(m_live);
    auto *rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(2);
    rows->addLayout(line);
    rows->addWidget(
        secondaryText(tr("Für Crowsnest-Kameras mit MJPEG-Streamer; sonst Einzelbilder"), this));

    connect(m_live, &QCheckBox::toggled, this, &StreamRow::toggled);
    // Taken as typed; an emptied field goes back to snapshots.
    connect(m_path, &QLineEdit::textEdited, this, [this](const QString &text) {
        m_settings.setStreamPath(text.isEmpty() ? std::nullopt : std::optional(text), m_camera.id);
    });
}

void StreamRow::showStreamPath(const QString &path)
{
    const QSignalBlocker blocker(m_live);
    m_live->setChecked(!path.isEmpty());
    if (!path.isEmpty() && m_path->text() != path)
        m_path->setText(path);
}

void StreamRow::toggled(bool on)
{
    if (!on) {
        m_settings.setStreamPath(std::nullopt, m_camera.id);
        return;
    }
    if (m_path->text().isEmpty()) {
        const QString snapshot = m_settings.resolvedCamera(m_camera).snapshotPath;
        m_path->setText(streamCounterpart(snapshot, m_camera.streamPath));
    }
    m_settings.setStreamPath(m_path->text(), m_camera.id);
}

} // namespace kestrel
