// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/PrinterSettings.h"

#include "platform/FrameText.h"
#include "platform/KeyValueStore.h"
#include "settings/SettingsCodec.h"

namespace kestrel {

namespace keys {
const QString printerName = QStringLiteral("printerName");
const QString printerIP = QStringLiteral("printerIP");
const QString selectedCameraIDs = QStringLiteral("selectedCameraIDs");
const QString cameraPlacements = QStringLiteral("cameraPlacements");
const QString cameraWindowFrames = QStringLiteral("cameraWindowFrames");
const QString homeKitAccessoryName = QStringLiteral("homeKitAccessoryName");
const QString homeKitPowerOnSceneName = QStringLiteral("homeKitPowerOnSceneName");
const QString homeKitStatusShortcutName = QStringLiteral("homeKitStatusShortcutName");
const QString customCameraNames = QStringLiteral("customCameraNames");
const QString customSnapshotPaths = QStringLiteral("customSnapshotPaths");
const QString homeKitPowerOffSceneName = QStringLiteral("homeKitPowerOffSceneName");
const QString cameraRotations = QStringLiteral("cameraRotations");
const QString cameraMirroring = QStringLiteral("cameraMirroring");
const QString cameraStreamPaths = QStringLiteral("cameraStreamPaths");
const QString printerApiKey = QStringLiteral("printerApiKey");
const QString wallCamera = QStringLiteral("wallCamera");
} // namespace keys

QString PrinterSettings::defaultPrinterIP()
{
    return QStringLiteral("192.168.178.50");
}

PrinterSettings::PrinterSettings(KeyValueStore &store, QString printerID, QObject *parent)
    : QObject(parent), m_store(store), m_printerID(std::move(printerID))
{
    using namespace codec;
    // The power scenes' defaults are the first printer's: any other printer switches nothing
    // until the user names its own, so that no printer ever runs another's plug.
    const bool first = isFirst();
    m_printerName = decodeString(store.value(keys::printerName), {});
    m_printerIP = decodeString(store.value(keys::printerIP), defaultPrinterIP());
    m_homeKitAccessoryName = decodeString(store.value(keys::homeKitAccessoryName),
                                          first ? QStringLiteral("Ender") : QString());
    m_homeKitPowerOnSceneName =
        decodeString(store.value(keys::homeKitPowerOnSceneName),
                     first ? QStringLiteral("Klipper einschalten") : QString());
    m_homeKitStatusShortcutName = decodeString(store.value(keys::homeKitStatusShortcutName), {});
    m_homeKitPowerOffSceneName =
        decodeString(store.value(keys::homeKitPowerOffSceneName),
                     first ? QStringLiteral("Klipper ausschalten") : QString());
    m_customCameraNames = decodeCameraTexts(store.value(keys::customCameraNames), EmptyTexts::skip);
    m_customSnapshotPaths =
        decodeCameraTexts(store.value(keys::customSnapshotPaths), EmptyTexts::skip);
    m_cameraPlacements =
        decodePlacements(store.value(keys::cameraPlacements), {{1, WindowPlacement::topLeft},
                                                               {2, WindowPlacement::bottomLeft},
                                                               {3, WindowPlacement::topRight}});
    // Unlike names and paths, an empty frame text is kept as stored; frame() reads it as no frame.
    m_cameraWindowFrames =
        decodeCameraTexts(store.value(keys::cameraWindowFrames), EmptyTexts::keep);
    m_selectedCameraIDs = decodeSelection(store.value(keys::selectedCameraIDs), {1});
    m_cameraStreamPaths = decodeCameraTexts(store.value(keys::cameraStreamPaths), EmptyTexts::skip);
    m_printerApiKey = decodeString(store.value(keys::printerApiKey), {});
    m_wallCamera = decodeCatalogueCamera(store.value(keys::wallCamera));
    m_cameraOrientations =
        decodeOrientations(store.value(keys::cameraRotations), store.value(keys::cameraMirroring));
    m_settledPrinterIP = m_printerIP;
    m_addressRest.setSingleShot(true);
    m_addressRest.setInterval(addressRest);
    connect(&m_addressRest, &QTimer::timeout, this, &PrinterSettings::settlePrinterIP);
}

template <typename T, typename WillChange>
void PrinterSettings::assign(T &field, T value, WillChange willChange, const QString &key)
{
    emit(this->*willChange)(value);
    field = std::move(value);
    m_store.setValue(key, codec::encode(field));
    emit changed();
}

void PrinterSettings::setWallCamera(CameraId id)
{
    assign(m_wallCamera, std::optional(id), &PrinterSettings::wallCameraWillChange,
           keys::wallCamera);
}

CameraId PrinterSettings::wallCamera() const
{
    if (m_wallCamera)
        return *m_wallCamera;
    const auto known = std::find_if(m_selectedCameraIDs.cbegin(), m_selectedCameraIDs.cend(),
                                    [](CameraId id) { return catalogueCamera(id) != nullptr; });
    return known == m_selectedCameraIDs.cend() ? cameraCatalogue().first().id : *known;
}

Camera PrinterSettings::resolvedWallCamera() const
{
    return resolvedCamera(*catalogueCamera(wallCamera()));
}

QString PrinterSettings::displayName() const
{
    const QString name = m_printerName.trimmed();
    if (!name.isEmpty())
        return name;
    const QString address = m_printerIP.trimmed();
    return address.isEmpty() ? tr("Drucker ohne Namen") : address;
}

void PrinterSettings::setPrinterName(QString value)
{
    assign(m_printerName, std::move(value), &PrinterSettings::printerNameWillChange,
           keys::printerName);
}

void PrinterSettings::setPrinterIP(QString value)
{
    assign(m_printerIP, std::move(value), &PrinterSettings::printerIPWillChange, keys::printerIP);
    m_addressRest.start();
}

void PrinterSettings::settlePrinterIP()
{
    m_addressRest.stop();
    if (m_settledPrinterIP == m_printerIP)
        return;
    m_settledPrinterIP = m_printerIP;
    emit printerIPSettled(m_settledPrinterIP);
}

void PrinterSettings::setSelectedCameraIDs(CameraIdSet value)
{
    assign(m_selectedCameraIDs, std::move(value), &PrinterSettings::selectedCameraIDsWillChange,
           keys::selectedCameraIDs);
}

void PrinterSettings::setCameraPlacements(PlacementMap value)
{
    assign(m_cameraPlacements, std::move(value), &PrinterSettings::cameraPlacementsWillChange,
           keys::cameraPlacements);
}

void PrinterSettings::setCameraWindowFrames(CameraTextMap value)
{
    assign(m_cameraWindowFrames, std::move(value), &PrinterSettings::cameraWindowFramesWillChange,
           keys::cameraWindowFrames);
}

void PrinterSettings::setHomeKitAccessoryName(QString value)
{
    assign(m_homeKitAccessoryName, std::move(value),
           &PrinterSettings::homeKitAccessoryNameWillChange, keys::homeKitAccessoryName);
}

void PrinterSettings::setHomeKitPowerOnSceneName(QString value)
{
    assign(m_homeKitPowerOnSceneName, std::move(value),
           &PrinterSettings::homeKitPowerOnSceneNameWillChange, keys::homeKitPowerOnSceneName);
}

void PrinterSettings::setHomeKitStatusShortcutName(QString value)
{
    assign(m_homeKitStatusShortcutName, std::move(value),
           &PrinterSettings::homeKitStatusShortcutNameWillChange, keys::homeKitStatusShortcutName);
}

void PrinterSettings::setCustomCameraNames(CameraTextMap value)
{
    assign(m_customCameraNames, std::move(value), &PrinterSettings::customCameraNamesWillChange,
           keys::customCameraNames);
}

void PrinterSettings::setCustomSnapshotPaths(CameraTextMap value)
{
    assign(m_customSnapshotPaths, std::move(value), &PrinterSettings::customSnapshotPathsWillChange,
           keys::customSnapshotPaths);
}

void PrinterSettings::setHomeKitPowerOffSceneName(QString value)
{
    assign(m_homeKitPowerOffSceneName, std::move(value),
           &PrinterSettings::homeKitPowerOffSceneNameWillChange, keys::homeKitPowerOffSceneName);
}

void PrinterSettings::setCameraOrientations(OrientationMap value)
{
    emit cameraOrientationsWillChange(value);
    m_cameraOrientations = std::move(value);
    m_store.setValue(keys::cameraRotations, codec::encodeRotations(m_cameraOrientations));
    m_store.setValue(keys::cameraMirroring, codec::encodeMirroring(m_cameraOrientations));
    emit changed();
}

void PrinterSettings::setCameraStreamPaths(CameraTextMap value)
{
    assign(m_cameraStreamPaths, std::move(value), &PrinterSettings::cameraStreamPathsWillChange,
           keys::cameraStreamPaths);
}

void PrinterSettings::setPrinterApiKey(QString value)
{
    assign(m_printerApiKey, std::move(value), &PrinterSettings::printerApiKeyWillChange,
           keys::printerApiKey);
}

void PrinterSettings::setOrientation(const CameraOrientation &orientation, CameraId id)
{
    OrientationMap orientations = m_cameraOrientations;
    if (orientation.isUnchanged())
        orientations.remove(id);
    else
        orientations.insert(id, orientation);
    setCameraOrientations(std::move(orientations));
}

Camera PrinterSettings::resolvedCamera(const Camera &camera) const
{
    Camera resolved = camera;
    resolved.name = m_customCameraNames.value(camera.id, camera.name);
    resolved.snapshotPath = m_customSnapshotPaths.value(camera.id, camera.snapshotPath);
    return resolved;
}

void PrinterSettings::setCameraSelected(CameraId id, bool selected)
{
    CameraIdSet ids = m_selectedCameraIDs;
    if (selected)
        ids.insert(id);
    else
        ids.erase(id);
    setSelectedCameraIDs(std::move(ids));
}

void PrinterSettings::setPlacement(WindowPlacement placement, CameraId id)
{
    PlacementMap placements = m_cameraPlacements;
    placements.insert(id, placement);
    setCameraPlacements(std::move(placements));
}

void PrinterSettings::setOverride(CameraTextMap &overrides, const std::optional<QString> &text,
                                  CameraId id)
{
    if (text && !text->isEmpty())
        overrides.insert(id, *text);
    else
        overrides.remove(id);
}

void PrinterSettings::setCustomName(const std::optional<QString> &name, CameraId id)
{
    CameraTextMap names = m_customCameraNames;
    setOverride(names, name, id);
    setCustomCameraNames(std::move(names));
}

void PrinterSettings::setCustomSnapshotPath(const std::optional<QString> &path, CameraId id)
{
    CameraTextMap paths = m_customSnapshotPaths;
    setOverride(paths, path, id);
    setCustomSnapshotPaths(std::move(paths));
}

void PrinterSettings::setStreamPath(const std::optional<QString> &path, CameraId id)
{
    CameraTextMap paths = m_cameraStreamPaths;
    setOverride(paths, path, id);
    setCameraStreamPaths(std::move(paths));
}

std::optional<QRectF> PrinterSettings::frame(CameraId id) const
{
    const auto text = m_cameraWindowFrames.constFind(id);
    if (text == m_cameraWindowFrames.cend())
        return std::nullopt;
    const QRectF rect = rectFromString(*text);
    const bool zero = rect.x() == 0 && rect.y() == 0 && rect.width() == 0 && rect.height() == 0;
    return zero ? std::nullopt : std::optional(rect);
}

void PrinterSettings::saveFrame(const QRectF &frame, CameraId id)
{
    QMetaObject::invokeMethod(
        this,
        [this, id, text = stringFromRect(frame)] {
            CameraTextMap frames = m_cameraWindowFrames;
            frames.insert(id, text);
            setCameraWindowFrames(std::move(frames));
        },
        Qt::QueuedConnection);
}

} // namespace kestrel
