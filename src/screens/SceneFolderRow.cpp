// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/SceneFolderRow.h"

#include "power/SceneFolder.h"
#include "power/SceneTemplates.h"
#include "widgets/SecondaryText.h"

#include <QDesktopServices>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

namespace kestrel {

SceneFolderRow::SceneFolderRow(QString folder, QWidget *parent)
    : QWidget(parent), m_folder(std::move(folder)), m_problem(secondaryText(QString(), this))
{
    auto *row = new QHBoxLayout;
    row->addWidget(
        secondaryText(tr("Szenen sind ausführbare Dateien in %1").arg(scenes::shownPath(m_folder)),
                      this),
        1);
    auto *button = new QPushButton(tr("Szenenordner öffnen"), this);
    connect(button, &QPushButton::clicked, this, &SceneFolderRow::open);
    row->addWidget(button);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(row);
    layout->addWidget(m_problem);
    m_problem->hide();
}

void SceneFolderRow::open()
{
    const auto problem = scenes::prepareFolder(m_folder);
    m_problem->setText(problem.value_or(QString()));
    m_problem->setVisible(problem.has_value());
    if (!problem)
        QDesktopServices::openUrl(QUrl::fromLocalFile(m_folder));
}

} // namespace kestrel
