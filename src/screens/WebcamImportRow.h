// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class QLabel;

namespace kestrel {

class PrinterSettings;

// "Vom Drucker übernehmen": takes the cameras' names, snapshot paths, rotation and mirroring over
// from the printer host's own webcam list, only on this click, and says what changed, which
// cameras it left alone, or why nothing changed.
class WebcamImportRow : public QWidget
{
    Q_OBJECT

public:
    explicit WebcamImportRow(PrinterSettings &settings, QWidget *parent = nullptr,
                             QString curlPath = QStringLiteral("/usr/bin/curl"));

signals:
    // Names or snapshot paths may have changed under open camera windows.
    void camerasTakenOver();

private:
    void takeOver();

    PrinterSettings &m_settings;
    const QString m_curlPath;
    QLabel *m_outcome;
    bool m_running = false;
};

} // namespace kestrel
