#include "monitor/PiStatusMonitor.h"
#include "platform/JsonFileKeyValueStore.h"
#include "settings/AppSettings.h"
#include "settings/SnapshotUrls.h"
#include "stream/SnapshotStreamView.h"

#include <QApplication>
#include <QVBoxLayout>
#include <QWidget>

using namespace kestrel;

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    // The application name places the settings file (~/.config/Kestrel/settings.json); there is
    // deliberately no organisation name, so no extra folder level.
    QApplication::setApplicationName(QStringLiteral("Kestrel"));

    JsonFileKeyValueStore store(JsonFileKeyValueStore::defaultFilePath());
    AppSettings settings(store);
    PiStatusMonitor monitor(settings);

    // Until the camera windows exist: the first selected camera, live, in one window.
    QWidget window;
    window.setWindowTitle(QStringLiteral("Kestrel"));
    window.resize(640, 420);
    auto *layout = new QVBoxLayout(&window);
    layout->setContentsMargins(0, 0, 0, 0);
    auto *view = new SnapshotStreamView(monitor, &window);
    layout->addWidget(view);
    for (const Camera &camera : cameraCatalogue()) {
        if (settings.selectedCameraIDs().contains(camera.id)) {
            const Camera resolved = settings.resolvedCamera(camera);
            view->setTargetFPS(resolved.fps);
            view->setSnapshotURLs(makeSnapshotURLs(settings.printerIP(), resolved.snapshotPath));
            break;
        }
    }
    window.show();
    return QApplication::exec();
}
