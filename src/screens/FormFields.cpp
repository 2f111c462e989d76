// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/FormFields.h"

#include <QFormLayout>
#include <QLineEdit>

namespace kestrel {

QLineEdit *boundField(QObject *context, const QString &label, QFormLayout *into,
                      std::function<void(const QString &)> assign)
{
    auto *field = new QLineEdit;
    field->setClearButtonEnabled(false);
    field->setAccessibleName(label); // what a screen reader, and a test, finds it by
    QObject::connect(field, &QLineEdit::textEdited, context, std::move(assign));
    into->addRow(label, field);
    return field;
}

void showValue(QLineEdit *field, const QString &value)
{
    if (field->text() != value)
        field->setText(value);
}

} // namespace kestrel
