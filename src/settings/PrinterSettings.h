// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/SettingsTypes.h"

#include <QObject>
#include <QRectF>
#include <QTimer>

#include <chrono>
#include <optional>

namespace kestrel {

class KeyValueStore;

// Everything the user chooses for one printer, loaded once from its part of the key-value store
// and written back key by key on every assignment; there is no separate save step.
//
// Every assignment first emits <field>WillChange(newValue), while the old value is still in
// place (readers see the old value), then stores and writes the field, then emits changed().
// Long-lived objects follow single fields through the WillChange signals; screens redraw on
// changed(). Both fire on every assignment, even when the value is the same.
//
// The printer address is typed key by key, and every key is stored. Whatever reaches out to the
// printer with it waits until typing rests (settledPrinterIP), so that no request and no key
// ever goes to an address half typed; only the first printer's probe loop and windows follow
// every change, as they always have.
class PrinterSettings : public QObject
{
    Q_OBJECT

public:
    // A typical home-router address; also shown as the example in the settings screen.
    static QString defaultPrinterIP();

    // Reads every field from the store at once; the store must outlive the settings. `printerID`
    // tells the printer apart from the others for as long as it exists; the first printer's is
    // empty.
    explicit PrinterSettings(KeyValueStore &store, QString printerID = {},
                             QObject *parent = nullptr);

    // How long typing must rest before an address counts.
    static constexpr std::chrono::milliseconds addressRest{1000};

    QString printerID() const { return m_printerID; }
    // The printer at the top level of the store, the one Kestrel always had.
    bool isFirst() const { return m_printerID.isEmpty(); }
    QString printerName() const { return m_printerName; }
    // What the user calls the printer: its name, or its address while it has none; never empty.
    QString displayName() const;

    QString printerIP() const { return m_printerIP; }
    // The address as it stood when typing last rested; the stored one at the start.
    QString settledPrinterIP() const { return m_settledPrinterIP; }
    // What the probe loop and the camera windows go by: the first printer's address as stored,
    // any other printer's settled one.
    QString watchedPrinterIP() const { return isFirst() ? m_printerIP : m_settledPrinterIP; }
    // The user has left the field: the address counts now, without waiting for the rest.
    void settlePrinterIP();
    CameraIdSet selectedCameraIDs() const { return m_selectedCameraIDs; }
    PlacementMap cameraPlacements() const { return m_cameraPlacements; }
    CameraTextMap cameraWindowFrames() const { return m_cameraWindowFrames; }
    QString homeKitAccessoryName() const { return m_homeKitAccessoryName; }
    QString homeKitPowerOnSceneName() const { return m_homeKitPowerOnSceneName; }
    QString homeKitStatusShortcutName() const { return m_homeKitStatusShortcutName; }
    CameraTextMap customCameraNames() const { return m_customCameraNames; }
    CameraTextMap customSnapshotPaths() const { return m_customSnapshotPaths; }
    QString homeKitPowerOffSceneName() const { return m_homeKitPowerOffSceneName; }
    OrientationMap cameraOrientations() const { return m_cameraOrientations; }
    // A camera with a stream path shows its live MJPEG stream instead of snapshots.
    CameraTextMap cameraStreamPaths() const { return m_cameraStreamPaths; }
    // What the printer host's API asks of a client outside its trusted networks; empty for none.
    QString printerApiKey() const { return m_printerApiKey; }
    // The camera the printer wall shows: the one chosen there, else the first selected camera
    // of the catalogue, else camera 1.
    CameraId wallCamera() const;
    // That camera as the catalogue has it, with the user's name and snapshot path.
    Camera resolvedWallCamera() const;

    void setPrinterName(QString value);
    void setPrinterIP(QString value);
    void setSelectedCameraIDs(CameraIdSet value);
    void setCameraPlacements(PlacementMap value);
    void setCameraWindowFrames(CameraTextMap value);
    void setHomeKitAccessoryName(QString value);
    void setHomeKitPowerOnSceneName(QString value);
    void setHomeKitStatusShortcutName(QString value);
    void setCustomCameraNames(CameraTextMap value);
    void setCustomSnapshotPaths(CameraTextMap value);
    void setHomeKitPowerOffSceneName(QString value);
    // Kept under two keys, "cameraRotations" and "cameraMirroring".
    void setCameraOrientations(OrientationMap value);
    void setCameraStreamPaths(CameraTextMap value);
    void setPrinterApiKey(QString value);
    void setWallCamera(CameraId id);

    // The catalogue camera with the user's name and snapshot path, taken as they are.
    Camera resolvedCamera(const Camera &camera) const;

    void setCameraSelected(CameraId id, bool selected);
    void setPlacement(WindowPlacement placement, CameraId id);
    // No text, or an empty one, removes the override.
    void setCustomName(const std::optional<QString> &name, CameraId id);
    void setCustomSnapshotPath(const std::optional<QString> &path, CameraId id);
    // No text, or an empty one, goes back to snapshots.
    void setStreamPath(const std::optional<QString> &path, CameraId id);

    CameraOrientation orientation(CameraId id) const { return m_cameraOrientations.value(id); }
    void setOrientation(const CameraOrientation &orientation, CameraId id);

    // The remembered frame of a camera window; none when there is no entry or it reads as the
    // zero rectangle (an empty or unreadable text).
    std::optional<QRectF> frame(CameraId id) const;

    // Window notifications may arrive in the middle of the window machinery's own work, so the
    // frame is turned into text now but stored on the next turn of the event loop (and not at
    // all if the settings are gone by then).
    void saveFrame(const QRectF &frame, CameraId id);

signals:
    void printerNameWillChange(const QString &newValue);
    void printerIPWillChange(const QString &newValue);
    void selectedCameraIDsWillChange(const kestrel::CameraIdSet &newValue);
    void cameraPlacementsWillChange(const kestrel::PlacementMap &newValue);
    void cameraWindowFramesWillChange(const kestrel::CameraTextMap &newValue);
    void homeKitAccessoryNameWillChange(const QString &newValue);
    void homeKitPowerOnSceneNameWillChange(const QString &newValue);
    void homeKitStatusShortcutNameWillChange(const QString &newValue);
    void customCameraNamesWillChange(const kestrel::CameraTextMap &newValue);
    void customSnapshotPathsWillChange(const kestrel::CameraTextMap &newValue);
    void homeKitPowerOffSceneNameWillChange(const QString &newValue);
    void cameraOrientationsWillChange(const kestrel::OrientationMap &newValue);
    void cameraStreamPathsWillChange(const kestrel::CameraTextMap &newValue);
    void printerApiKeyWillChange(const QString &newValue);
    void wallCameraWillChange(std::optional<kestrel::CameraId> newValue);

    // After any field has been stored and written.
    void changed();
    // Typing rested on an address other than the settled one before.
    void printerIPSettled(const QString &address);

private:
    template <typename T, typename WillChange>
    void assign(T &field, T value, WillChange willChange, const QString &key);

    static void setOverride(CameraTextMap &overrides, const std::optional<QString> &text,
                            CameraId id);

    KeyValueStore &m_store;
    const QString m_printerID;

    QString m_printerName;
    QString m_printerIP;
    QString m_settledPrinterIP;
    QTimer m_addressRest;
    CameraIdSet m_selectedCameraIDs;
    PlacementMap m_cameraPlacements;
    CameraTextMap m_cameraWindowFrames;
    QString m_homeKitAccessoryName;
    QString m_homeKitPowerOnSceneName;
    QString m_homeKitStatusShortcutName;
    CameraTextMap m_customCameraNames;
    CameraTextMap m_customSnapshotPaths;
    QString m_homeKitPowerOffSceneName;
    OrientationMap m_cameraOrientations;
    CameraTextMap m_cameraStreamPaths;
    QString m_printerApiKey;
    std::optional<CameraId> m_wallCamera;
};

} // namespace kestrel
