// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/Camera.h"

#include <QWidget>

#include <functional>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;

namespace kestrel {

class AppSettings;
class HomeKitManager;
class OrientationRow;
class StreamRow;

// Edits every setting directly: each keystroke, toggle and choice is assigned and written at
// once, with no save step. It also offers the printer's power controls.
class SettingsView : public QWidget
{
    Q_OBJECT

public:
    SettingsView(AppSettings &settings, HomeKitManager &homeKitManager, QWidget *parent = nullptr);

signals:
    // "Vom Drucker übernehmen" changed cameras: open windows should show them as they are now.
    void camerasTakenOver();

protected:
    void showEvent(QShowEvent *event) override;

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

    QWidget *printerSection();
    QWidget *camerasSection();
    QWidget *homeKitSection();
    QLineEdit *boundField(const QString &label, QFormLayout *into,
                          std::function<void(const QString &)> assign);
    void alignFieldColumns();
    void fitHeightToScreen();
    void refresh();
    void refreshPowerState();
    void showAutostart();

    AppSettings &m_settings;
    HomeKitManager &m_homeKitManager;
    QLineEdit *m_printerIP = nullptr;
    QLineEdit *m_apiKey = nullptr;
    QCheckBox *m_alwaysOnTop = nullptr;
    QCheckBox *m_notifyPrintEvents = nullptr;
    QCheckBox *m_autostart = nullptr; // only where desktops read an autostart folder
    QList<CameraControls> m_cameras;
    QLineEdit *m_accessoryName = nullptr;
    QLineEdit *m_powerOnScene = nullptr;
    QLineEdit *m_statusShortcut = nullptr;
    QLineEdit *m_powerOffScene = nullptr;
    QLabel *m_powerState = nullptr;
    QLabel *m_actionMessage = nullptr;
    bool m_watchingFrame = false;
};

} // namespace kestrel
