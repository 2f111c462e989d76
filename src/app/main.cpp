#include "platform/JsonFileKeyValueStore.h"
#include "settings/AppSettings.h"

#include <QApplication>
#include <QWidget>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    // The application name places the settings file (~/.config/Kestrel/settings.json); there is
    // deliberately no organisation name, so no extra folder level.
    QApplication::setApplicationName(QStringLiteral("Kestrel"));

    kestrel::JsonFileKeyValueStore store(kestrel::JsonFileKeyValueStore::defaultFilePath());
    kestrel::AppSettings settings(store);

    QWidget window;
    window.setWindowTitle(QStringLiteral("Kestrel"));
    window.resize(640, 360);
    window.show();
    return QApplication::exec();
}
