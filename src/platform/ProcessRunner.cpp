// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ProcessRunner.h"

#include <QFileInfo>
#include <QProcess>
#include <QPromise>
#include <QStringDecoder>

#include <memory>

namespace kestrel {

QString decodeStrictUtf8(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    QString text = decoder(bytes);
    return decoder.hasError() ? QString() : text;
}

QString launchErrorText(const QString &program)
{
    const QFileInfo file(program);
    const QString reason = !file.exists() ? QStringLiteral("Datei nicht gefunden")
                           : !file.isExecutable()
                               ? QStringLiteral("keine Berechtigung zum Ausführen")
                               : QStringLiteral("Start fehlgeschlagen");
    return QStringLiteral("„%1“ konnte nicht gestartet werden: %2").arg(program, reason);
}

QFuture<ProcessResult> runProcess(const ProcessCommand &command, QObject *owner)
{
    auto *process = new QProcess(owner);
    // The promise lives as long as the process; if the owner kills the process, destroying the
    // promise cancels the future.
    auto promise = std::make_shared<QPromise<ProcessResult>>();
    QFuture<ProcessResult> future = promise->future();
    promise->start();

    auto report = [process, promise](ProcessResult result) {
        promise->addResult(std::move(result));
        promise->finish();
        process->disconnect();
        process->deleteLater();
    };

    // When the owner goes, the child goes with it, and nothing it does afterwards reports: the
    // owner announces its end before its children are deleted, and QProcess's own destructor
    // would otherwise emit finished() into an owner that is half gone.
    QObject::connect(owner, &QObject::destroyed, process, [process] {
        process->disconnect();
        process->kill();
        process->waitForFinished();
    });
    QObject::connect(process, &QProcess::errorOccurred, process,
                     [program = command.program, report](QProcess::ProcessError error) {
                         if (error == QProcess::FailedToStart)
                             report({.launched = false, .launchError = launchErrorText(program)});
                     });
    QObject::connect(process, &QProcess::finished, process,
                     [process, report](int exitCode, QProcess::ExitStatus exitStatus) {
                         report(
                             {.launched = true,
                              .exitStatus = exitCode,
                              .crashed = exitStatus == QProcess::CrashExit,
                              .standardOutput = decodeStrictUtf8(process->readAllStandardOutput()),
                              .standardError = decodeStrictUtf8(process->readAllStandardError())});
                     });

    process->setStandardInputFile(QProcess::nullDevice());
    if (!command.captureStandardOutput)
        process->setStandardOutputFile(QProcess::nullDevice());
    process->start(command.program, command.arguments, QIODevice::ReadOnly);
    return future;
}

} // namespace kestrel
