// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace kestrel {

class AppSettings;
class Printer;

// What every camera window's content works with: the options for all printers, and the printer
// whose camera it shows.
struct CameraWindowEnvironment
{
    AppSettings &settings;
    Printer &printer;
    QString curlPath = QStringLiteral("/usr/bin/curl");
};

} // namespace kestrel
