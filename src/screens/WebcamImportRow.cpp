// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/WebcamImportRow.h"

#include "settings/WebcamImport.h"
#include "widgets/SecondaryText.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace kestrel {

WebcamImportRow::WebcamImportRow(PrinterSettings &settings, QWidget *parent, QString curlPath)
    : QWidget(parent), m_settings(settings), m_curlPath(std::move(curlPath)),
      m_outcome(secondaryText(QString(), this))
{
    auto *button = new QPushButton(tr("Vom Drucker übernehmen"), this);
    auto *rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->addWidget(button, 0, Qt::AlignLeft);
    rows->addWidget(m_outcome);
    m_outcome->hide();
    connect(button, &QPushButton::clicked, this, &WebcamImportRow::takeOver);
}

void WebcamImportRow::takeOver()
{
    // Not disabled while it runs: a disabled button would pass the keyboard focus on.
    if (m_running)
        return;
    m_running = true;
    importWebcams(m_settings, m_curlPath, this).then(this, [this](const WebcamTakeOver &outcome) {
        m_outcome->setText(outcome.message());
        m_outcome->show();
        m_running = false;
        if (!outcome.changes.isEmpty())
            emit camerasTakenOver();
    });
}

} // namespace kestrel
