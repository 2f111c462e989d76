// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/Camera.h"

#include <QGroupBox>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;

namespace kestrel {

class OrientationRow;
class PrinterSettings;
class StreamRow;

// "Kameras anzeigen" for one printer: per camera whether it shows, where its window starts, and
// the user's own name, snapshot path, stream path and turn; then the take-over from the printer.
class CameraSettingsSection : public QGroupBox
{
    Q_OBJECT

public:
    explicit CameraSettingsSection(PrinterSettings &settings, QWidget *parent = nullptr);

    void refresh();

signals:
    // "Vom Drucker übernehmen" changed cameras: open windows should show them as they are now.
    void camerasTakenOver();

private:
    struct CameraControls
    {
        CameraId id;
        QCheckBox *shown;
        QLabel *caption;
        QComboBox *placement;
        QLineEdit *name;
        QLineEdit *snapshotPath;
        StreamRow *stream;
        OrientationRow *orientation;
    };

    void addCamera(const Camera &camera);

    PrinterSettings &m_settings;
    QList<CameraControls> m_cameras;
};

} // namespace kestrel
