// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/CameraSettingsSection.h"

#include "screens/CameraCaption.h"
#include "screens/FormFields.h"
#include "screens/OrientationRow.h"
#include "screens/StreamRow.h"
#include "screens/WebcamImportRow.h"
#include "settings/PrinterSettings.h"
#include "widgets/SecondaryText.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>
#include <QVBoxLayout>

namespace kestrel {

namespace {

// Joins every character to the next (U+2060 WORD JOINER, invisible), so a caption wraps between
// words only and never inside an address.
QString keptTogether(const QString &text)
{
    QString joined;
    for (const QChar character : text) {
        if (!joined.isEmpty())
            joined += QChar(0x2060);
        joined += character;
    }
    return joined;
}

} // namespace

CameraSettingsSection::CameraSettingsSection(PrinterSettings &settings, QWidget *parent)
    : QGroupBox(tr("Kameras anzeigen"), parent), m_settings(settings)
{
    auto *blocks = new QVBoxLayout(this);
    for (const Camera &camera : cameraCatalogue())
        addCamera(camera);
    auto *import = new WebcamImportRow(m_settings, this);
    connect(import, &WebcamImportRow::camerasTakenOver, this,
            &CameraSettingsSection::camerasTakenOver);
    blocks->addWidget(import);
    refresh();
}

void CameraSettingsSection::addCamera(const Camera &camera)
{
    const CameraId id = camera.id;
    auto *line = new QHBoxLayout;
    // The name is the check box's own text, so clicking it toggles; the caption stands under
    // the name and does not break inside the path.
    auto *shown = new QCheckBox(camera.name, this);
    connect(shown, &QCheckBox::toggled, this,
            [this, id](bool on) { m_settings.setCameraSelected(id, on); });
    auto *labels = new QVBoxLayout;
    labels->setSpacing(2);
    labels->addWidget(shown);
    QLabel *details = secondaryText(QString(), this);
    details->setIndent(style()->pixelMetric(QStyle::PM_IndicatorWidth) +
                       style()->pixelMetric(QStyle::PM_CheckBoxLabelSpacing));
    labels->addWidget(details);
    line->addLayout(labels, 1);
    QLabel *placementCaption = secondaryText(tr("Startposition"), this);
    placementCaption->setWordWrap(false);
    line->addWidget(placementCaption);
    auto *placement = new QComboBox(this);
    placement->setFixedWidth(160);
    placement->setAccessibleName(tr("Startposition"));
    for (const WindowPlacement option : allWindowPlacements)
        placement->addItem(displayName(option), rawValue(option));
    connect(placement, &QComboBox::activated, this, [this, id, placement](int index) {
        if (const auto chosen = windowPlacementFromRawValue(placement->itemData(index).toString()))
            m_settings.setPlacement(*chosen, id);
    });
    line->addWidget(placement);

    auto *divider = new QFrame(this);
    divider->setFrameShape(QFrame::HLine);
    divider->setFrameShadow(QFrame::Sunken);

    auto *custom = new QFormLayout;
    custom->setContentsMargins(0, 4, 0, 4);
    custom->addRow(secondaryText(tr("Individuelle Einstellungen"), this));
    // Emptying a field removes the override, and the catalogue value shows again.
    QLineEdit *customName =
        boundField(this, tr("Kameraname"), custom, [this, id](const QString &text) {
            m_settings.setCustomName(text.isEmpty() ? std::nullopt : std::optional(text), id);
        });
    QLineEdit *customPath =
        boundField(this, tr("Snapshot-Pfad"), custom, [this, id](const QString &text) {
            m_settings.setCustomSnapshotPath(text.isEmpty() ? std::nullopt : std::optional(text),
                                             id);
        });

    auto *stream = new StreamRow(m_settings, camera, this);
    custom->addRow(tr("Stream-Pfad"), stream);
    auto *orientation = new OrientationRow(m_settings, camera, this);
    custom->addRow(tr("Drehung"), orientation);
    customName->setAccessibleName(tr("Kameraname") + u' ' + camera.name);
    customPath->setAccessibleName(tr("Snapshot-Pfad") + u' ' + camera.name);
    auto *block = new QVBoxLayout;
    block->setContentsMargins(0, 4, 0, 4);
    block->addLayout(line);
    block->addWidget(divider);
    block->addLayout(custom);
    static_cast<QVBoxLayout *>(layout())->addLayout(block);
    m_cameras.append({id, shown, details, placement, customName, customPath, stream, orientation});
}

void CameraSettingsSection::refresh()
{
    const CameraIdSet selected = m_settings.selectedCameraIDs();
    const PlacementMap placements = m_settings.cameraPlacements();
    const CameraTextMap names = m_settings.customCameraNames();
    const CameraTextMap paths = m_settings.customSnapshotPaths();
    const CameraTextMap streams = m_settings.cameraStreamPaths();
    for (const CameraControls &controls : std::as_const(m_cameras)) {
        const Camera &camera =
            *std::find_if(cameraCatalogue().cbegin(), cameraCatalogue().cend(),
                          [&](const Camera &entry) { return entry.id == controls.id; });
        const QSignalBlocker blocker(controls.shown); // showing a value is no assignment
        controls.shown->setChecked(selected.contains(controls.id));
        // A camera without an entry starts free.
        controls.placement->setCurrentIndex(controls.placement->findData(
            rawValue(placements.value(controls.id, WindowPlacement::free))));
        showValue(controls.name, names.value(controls.id, camera.name));
        showValue(controls.snapshotPath, paths.value(controls.id, camera.snapshotPath));
        controls.caption->setText(cameraCaption(m_settings.resolvedCamera(camera),
                                                streams.value(controls.id), keptTogether));
        controls.stream->showStreamPath(streams.value(controls.id));
        controls.orientation->showOrientation(m_settings.orientation(controls.id));
    }
}

} // namespace kestrel
