// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/SettingsTypes.h"

#include <QWidget>

class QCheckBox;
class QComboBox;

namespace kestrel {

class PrinterSettings;

// One camera's "Drehung" and its two mirror toggles; every change is stored at once and turns the
// open window's next picture.
class OrientationRow : public QWidget
{
    Q_OBJECT

public:
    OrientationRow(PrinterSettings &settings, const Camera &camera, QWidget *parent = nullptr);

    // Shows the stored value; showing is no assignment.
    void showOrientation(const CameraOrientation &orientation);

private:
    void store();

    PrinterSettings &m_settings;
    const CameraId m_id;
    QComboBox *m_rotation;
    QCheckBox *m_mirrorHorizontal;
    QCheckBox *m_mirrorVertical;
};

} // namespace kestrel
