// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class QLabel;

namespace kestrel {

// Where the power scenes live, and a button that makes the folder ready (the templates go in as
// examples that cannot run) and opens it in the file manager. Shown where there is no shortcuts
// tool, so that a user learns what the scene names in the fields above refer to.
class SceneFolderRow : public QWidget
{
    Q_OBJECT

public:
    explicit SceneFolderRow(QString folder, QWidget *parent = nullptr);

private:
    void open();

    const QString m_folder;
    QLabel *m_problem;
};

} // namespace kestrel
