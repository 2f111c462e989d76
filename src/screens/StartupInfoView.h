// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>

#include <functional>

namespace kestrel {

// The sheet that says the 3D printer does not answer and offers to switch it on. What its two
// buttons do is up to the main window; the sheet itself never closes on "Bis du sicher?", so it
// stays until the switching-on has finished. It never takes the keyboard from a field that is
// being typed in.
class StartupInfoView : public QDialog
{
    Q_OBJECT

public:
    // The question names what switches the printer on; with several printers, the heading
    // names the printer. Without `onStart` there is nothing to switch the printer on with: the
    // text says why, and the only button closes the sheet.
    StartupInfoView(const QString &question, std::function<void()> onStart,
                    std::function<void()> onCancel, QWidget *parent = nullptr,
                    const QString &printerName = {});
};

} // namespace kestrel
