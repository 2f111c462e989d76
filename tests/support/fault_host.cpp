// SPDX-License-Identifier: GPL-3.0-or-later
// A printer host that fails on command, for the fault soak. It serves "/" and the three
// catalogue snapshot paths on 127.0.0.1, prints its address, then reads one state per line
// from standard input: up, closed, silent, 404, html, truncated, random, huge, http10.
// It runs as a process of its own so that its buffers never count as Kestrel's memory.

#include "Helpers.h"
#include "LoopbackHttpServer.h"

#include <QGuiApplication>
#include <QRandomGenerator>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

using kestrel::HttpReply;

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);

    const QByteArray jpeg = kestrel::test::testJpeg();
    QByteArray random(200 * 1024, Qt::Uninitialized);
    QRandomGenerator(7).fillRange(reinterpret_cast<quint32 *>(random.data()), random.size() / 4);
    const QByteArray huge(70 << 20, '\xff'); // over any camera picture's size

    QByteArray state = "up";
    kestrel::LoopbackHttpServer server;
    server.setHandler([&](const kestrel::HttpRequest &request) {
        const bool camera2 = request.path.startsWith("/webcam2/");
        const bool camera3 = request.path.startsWith("/webcam3/");
        if (state == "silent")
            return HttpReply::with(HttpReply::Action::silent);
        if (state == "http10")
            return HttpReply{
                .statusLine = "HTTP/1.0 200 OK", .contentType = "image/jpeg", .body = jpeg};
        if (request.path == "/")
            return HttpReply{};
        if (state == "404" && camera2)
            return HttpReply::status("HTTP/1.1 404 Not Found");
        if (state == "html")
            return HttpReply::content("text/html", "<html><body>Fehler</body></html>");
        if (state == "truncated")
            return HttpReply::content("image/jpeg", jpeg.left(jpeg.size() / 2));
        if (state == "random")
            return HttpReply::content("image/jpeg", random);
        if (state == "huge" && camera3)
            return HttpReply::content("image/jpeg", huge);
        return HttpReply::content("image/jpeg", jpeg);
    });
    std::printf("%s\n", qPrintable(server.address()));
    std::fflush(stdout);

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, [&] {
        char line[64] = {};
        const ssize_t length = ::read(STDIN_FILENO, line, sizeof line - 1);
        if (length <= 0)
            QCoreApplication::quit();
        state = QByteArray(line).trimmed();
        server.setListening(state != "closed");
    });
    return QGuiApplication::exec();
}
