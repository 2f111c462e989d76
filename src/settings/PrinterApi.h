// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

namespace kestrel {

class PrinterSettings;

// How Kestrel speaks to the printer host's API: at the printer address, and with the user's API
// key where the host wants one.
namespace printerApi {

// "http://" + the settled printer address + path, or none when the address is no valid one.
std::optional<QUrl> url(const PrinterSettings &settings, const QString &path);

// The key as it goes into the X-Api-Key header: its visible ASCII characters only, so that a
// blank or line break pasted along with it can neither spoil the request nor add a header of its
// own. Empty when there is no key.
QByteArray keyHeaderValue(const QString &key);

// curl's configuration for standard input that sends the key: the key never stands in curl's
// argument vector, which every user of the machine can read. Empty when there is no key.
QByteArray curlKeyConfig(const QString &key);

// What the user sees when the host refuses Kestrel for want of the right key.
QString unauthorizedText();

} // namespace printerApi

} // namespace kestrel
