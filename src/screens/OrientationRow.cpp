// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/OrientationRow.h"

#include "settings/PrinterSettings.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace kestrel {

OrientationRow::OrientationRow(PrinterSettings &settings, const Camera &camera, QWidget *parent)
    : QWidget(parent), m_settings(settings), m_id(camera.id), m_rotation(new QComboBox(this)),
      m_mirrorHorizontal(new QCheckBox(tr("Horizontal spiegeln"), this)),
      m_mirrorVertical(new QCheckBox(tr("Vertikal spiegeln"), this))
{
    for (const int degrees : {0, 90, 180, 270})
        m_rotation->addItem(QStringLiteral("%1°").arg(degrees), degrees);
    m_rotation->setAccessibleName(tr("Drehung") + u' ' + camera.name);
    // The toggles get a line of their own under the rotation, so that neither word is cut.
    auto *rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->addWidget(m_rotation, 0, Qt::AlignLeft);
    auto *toggles = new QHBoxLayout;
    toggles->addWidget(m_mirrorHorizontal);
    toggles->addWidget(m_mirrorVertical);
    toggles->addStretch();
    rows->addLayout(toggles);
    connect(m_rotation, &QComboBox::activated, this, &OrientationRow::store);
    connect(m_mirrorHorizontal, &QCheckBox::toggled, this, &OrientationRow::store);
    connect(m_mirrorVertical, &QCheckBox::toggled, this, &OrientationRow::store);
}

void OrientationRow::showOrientation(const CameraOrientation &orientation)
{
    const QSignalBlocker rotation(m_rotation);
    const QSignalBlocker horizontal(m_mirrorHorizontal);
    const QSignalBlocker vertical(m_mirrorVertical);
    m_rotation->setCurrentIndex(m_rotation->findData(orientation.rotation));
    m_mirrorHorizontal->setChecked(orientation.mirrorHorizontal);
    m_mirrorVertical->setChecked(orientation.mirrorVertical);
}

void OrientationRow::store()
{
    m_settings.setOrientation({m_rotation->currentData().toInt(), m_mirrorHorizontal->isChecked(),
                               m_mirrorVertical->isChecked()},
                              m_id);
}

} // namespace kestrel
