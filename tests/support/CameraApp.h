// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/CameraViews.h"
#include "platform/MemoryKeyValueStore.h"
#include "printers/PrinterList.h"
#include "settings/AppSettings.h"
#include "windows/WindowCoordinator.h"

#include <QTemporaryDir>

#include <chrono>
#include <memory>

namespace kestrel::test {

inline QVariant idList(std::initializer_list<qint64> values)
{
    QVariantList list;
    for (const qint64 value : values)
        list.append(QVariant::fromValue(value));
    return list;
}

// The app's long-lived objects over settings in memory, reaching no network and no real tool
// unless the test says so: an empty printer address unless one is stored, and a shortcuts tool
// that does not exist unless one is given. start() makes the coordinator, which opens the
// stored selection.
struct CameraApp
{
    explicit CameraApp(QVariantMap stored, const QString &shortcutsPath = {},
                       std::chrono::milliseconds probeInterval = std::chrono::seconds(60))
        : store([&] {
              if (!stored.contains(QStringLiteral("printerIP")))
                  stored.insert(QStringLiteral("printerIP"), QString());
              return stored;
          }()),
          settings(store), printers(settings,
                                    {.shortcuts = shortcutsPath.isEmpty()
                                                      ? tools.filePath(QStringLiteral("shortcuts"))
                                                      : shortcutsPath,
                                     .sceneRunner = {}},
                                    nullptr, {.probeInterval = probeInterval}),
          printer(settings.firstPrinter()), homeKit(printers.first().power()),
          monitor(printers.first().monitor())
    {}
    std::unique_ptr<WindowCoordinator> start()
    {
        return std::make_unique<WindowCoordinator>(printers, cameraWindowViews(settings));
    }

    QTemporaryDir tools;
    MemoryKeyValueStore store;
    AppSettings settings;
    PrinterList printers;
    // The first printer's parts
    PrinterSettings &printer;
    HomeKitManager &homeKit;
    const PiStatusMonitor &monitor;
};

} // namespace kestrel::test
