// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/Camera.h"

#include <QWidget>

class QCheckBox;
class QLineEdit;

namespace kestrel {

class PrinterSettings;

// One camera's "Stream-Pfad" and "Live-Stream (MJPEG)": a camera with a stream path shows its
// live stream, one without keeps its snapshots. Ticking the box with no path yet takes the
// snapshot path's stream counterpart; every change is stored at once and switches the open
// window.
class StreamRow : public QWidget
{
    Q_OBJECT

public:
    StreamRow(PrinterSettings &settings, const Camera &camera, QWidget *parent = nullptr);

    // Shows the stored path; showing is no assignment. Without one, the field keeps what it
    // shows, so unticking and ticking again brings the same path back.
    void showStreamPath(const QString &path);

private:
    void toggled(bool on);

    PrinterSettings &m_settings;
    const Camera m_camera;
    QCheckBox *m_live;
    QLineEdit *m_path;
};

} // namespace kestrel
