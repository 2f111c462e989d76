// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/ConfirmationAlert.h"

#include "widgets/ButtonStyles.h"

#include <QMessageBox>
#include <QPushButton>

namespace kestrel {

QMessageBox *confirmDestructive(QWidget *parent, const QString &title, const QString &message,
                                const QString &confirmLabel, std::function<void()> confirmed,
                                const QString &cancelLabel)
{
    auto *alert = new QMessageBox(parent);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setWindowModality(Qt::WindowModal);
    // After the modality, which makes the alert a sheet anew and forgets its other flags.
    alert->setWindowFlag(Qt::WindowStaysOnTopHint);
    alert->setIcon(QMessageBox::Warning);
    alert->setWindowTitle(title);
    alert->setText(title);
    alert->setInformativeText(message);
    alert->setTextFormat(Qt::PlainText);
    QPushButton *cancel = alert->addButton(
        cancelLabel.isEmpty() ? QObject::tr("Abbrechen") : cancelLabel, QMessageBox::RejectRole);
    QPushButton *confirm = alert->addButton(confirmLabel, QMessageBox::DestructiveRole);
    buttonStyles::makeDestructive(confirm);
    alert->setDefaultButton(cancel);
    alert->setEscapeButton(cancel);
    QObject::connect(confirm, &QPushButton::clicked, alert, std::move(confirmed));
    alert->open();
    return alert;
}

} // namespace kestrel
