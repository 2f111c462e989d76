// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <functional>

class QMessageBox;
class QWidget;

namespace kestrel {

// Asks before something that cannot be undone: an alert over `parent`'s window with a cancelling
// button ("Abbrechen" unless `cancelLabel` says otherwise), which Return and Escape answer, and a
// confirming button marked as the dangerous choice. It does not block: `confirmed` runs once the
// user confirms, and cancelling does nothing. The alert is a QMessageBox child of `parent`, so it
// can be found and answered like any other widget, and it stands above Kestrel's camera windows
// however high they float.
QMessageBox *confirmDestructive(QWidget *parent, const QString &title, const QString &message,
                                const QString &confirmLabel, std::function<void()> confirmed,
                                const QString &cancelLabel = {});

} // namespace kestrel
