#include "app/AppIdentity.h"
#include "app/KestrelApp.h"
#include "platform/JsonFileKeyValueStore.h"
#include "platform/SingleInstance.h"
#include "platform/TerminationSignals.h"

#include <QApplication>

int main(int argc, char *argv[])
{
#if defined(Q_OS_LINUX)
    // Wayland lets no client place its own windows, and corner placement is the point of
    // camera windows: unless the user chose a platform, prefer X11 (XWayland on a Wayland
    // desktop) and fall back to Wayland only where there is no X server.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "xcb;wayland");
#endif
    QApplication app(argc, argv);
    kestrel::appIdentity::apply();

    kestrel::SingleInstance instance;
    if (!instance.isFirst())
        return 0;
    kestrel::quitOnTerminationSignals();
    kestrel::JsonFileKeyValueStore store(kestrel::JsonFileKeyValueStore::defaultFilePath());
    kestrel::KestrelApp kestrel(store);
    QObject::connect(&instance, &kestrel::SingleInstance::anotherLaunch, &kestrel,
                     &kestrel::KestrelApp::bringToFront);
    return QApplication::exec();
}
