// SPDX-License-Identifier: GPL-3.0-or-later
// Writes the three camera pictures the benchmarks serve: cam1.jpg (1280x960) and cam2.jpg,
// cam3.jpg (1920x1080), camera-like in content and size.
#include "CameraPictures.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>

#include <cstdio>

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_pictures <folder>\n");
        return 2;
    }
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    const struct
    {
        const char *name;
        QSize size;
        QColor tint;
    } pictures[] = {{"cam1.jpg", {1280, 960}, {60, 80, 110}},
                    {"cam2.jpg", {1920, 1080}, {110, 80, 50}},
                    {"cam3.jpg", {1920, 1080}, {50, 100, 70}}};
    quint32 seed = 1;
    for (const auto &picture : pictures) {
        QFile file(folder.filePath(QString::fromLatin1(picture.name)));
        if (!file.open(QIODevice::WriteOnly) ||
            file.write(kestrel::bench::cameraLikeJpeg(picture.size, picture.tint, seed++)) < 0)
            return 1;
    }
    return 0;
}
