// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <functional>

class QFormLayout;
class QLineEdit;
class QObject;

namespace kestrel {

// A text field in a settings form whose every keystroke is an assignment, taken as typed:
// nothing is trimmed or checked here. `context` ends the binding when it goes. The label is also
// the field's accessible name.
QLineEdit *boundField(QObject *context, const QString &label, QFormLayout *into,
                      std::function<void(const QString &)> assign);

// Sets a field without disturbing the user's typing when it already shows the value.
void showValue(QLineEdit *field, const QString &value);

} // namespace kestrel
