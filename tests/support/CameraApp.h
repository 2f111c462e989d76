#pragma once

#include "monitor/PiStatusMonitor.h"
#include "platform/MemoryKeyValueStore.h"
#include "power/HomeKitManager.h"
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

// The app's long-lived objects over settings in memory, reaching no network and no real tool:
// an empty printer address and a shortcuts tool that does not exist. start() makes the
// coordinator, which opens the stored selection.
struct CameraApp
{
    explicit CameraApp(QVariantMap stored)
        : store([&] {
              stored.insert(QStringLiteral("printerIP"), QString());
              return stored;
          }()),
          settings(store), homeKit(settings, nullptr, tools.filePath(QStringLiteral("shortcuts"))),
          monitor(settings, nullptr, std::chrono::seconds(60))
    {}
    std::unique_ptr<WindowCoordinator> start()
    {
        return std::make_unique<WindowCoordinator>(settings, monitor, homeKit);
    }

    QTemporaryDir tools;
    MemoryKeyValueStore store;
    AppSettings settings;
    HomeKitManager homeKit;
    PiStatusMonitor monitor;
};

} // namespace kestrel::test
