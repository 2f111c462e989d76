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

QString curlFailureText(const ProcessResult &result)
{
    if (result.failure)
        return *result.failure;
    const QString error = result.standardError.trimmed();
    return error.isEmpty() ? QStringLiteral("curl-Fehler ") + QString::number(result.exitStatus)
                           : error;
}

namespace {

QString launchErrorText(const QString &program)
{
    const QFileInfo file(program);
    const QString reason = !file.exists() ? QStringLiteral("Datei nicht gefunden")
                           : !file.isExecutable()
                               ? QStringLiteral("keine Berechtigung zum Ausführen")
                               : QStringLiteral("Start fehlgeschlagen");
    return QStringLiteral("„%1“ konnte nicht gestartet werden: %2").arg(program, reason);
}

// What a run has said so far. Output is drained as it comes, so the pipes never hold more than
// a chunk, and counted, so a program that does not stop talking is stopped instead.
struct Outputs
{
    QByteArray standardOutput;
    QByteArray standardError;
    bool overflowed = false;
};

QString overflowText(const QString &program)
{
    return QStringLiteral("Ausgabe von %1 zu groß (über 1 MB)").arg(QFileInfo(program).fileName());
}

} // namespace

QFuture<ProcessResult> runProcess(const ProcessCommand &command, QObject *owner)
{
    auto *process = new QProcess(owner);
    // The promise lives as long as the process; if the owner kills the process, destroying the
    // promise cancels the future.
    auto promise = std::make_shared<QPromise<ProcessResult>>();
    auto outputs = std::make_shared<Outputs>();
    QFuture<ProcessResult> future = promise->future();
    promise->start();

    auto report = [process, promise](ProcessResult result) {
        promise->addResult(std::move(result));
        promise->finish();
        process->disconnect();
        process->deleteLater();
    };
    auto drain = [process, outputs](QProcess::ProcessChannel channel) {
        process->setReadChannel(channel);
        const QByteArray chunk = process->readAll();
        if (outputs->overflowed)
            return;
        QByteArray &kept = channel == QProcess::StandardOutput ? outputs->standardOutput
                                                               : outputs->standardError;
        kept += chunk;
        if (kept.size() > largestProcessOutput) {
            outputs->overflowed = true;
            kept.clear();
            process->kill();
        }
    };

    // When the owner goes, the child goes with it, and nothing it does afterwards reports: the
    // owner announces its end before its children are deleted, and QProcess's own destructor
    // would otherwise emit finished() into an owner that is half gone.
    QObject::connect(owner, &QObject::destroyed, process, [process] {
        process->disconnect();
        process->kill();
        process->waitForFinished();
    });
    QObject::connect(process, &QProcess::readyReadStandardOutput, process,
                     [drain] { drain(QProcess::StandardOutput); });
    QObject::connect(process, &QProcess::readyReadStandardError, process,
                     [drain] { drain(QProcess::StandardError); });
    QObject::connect(process, &QProcess::errorOccurred, process,
                     [program = command.program, report](QProcess::ProcessError error) {
                         if (error == QProcess::FailedToStart)
                             report({.failure = launchErrorText(program)});
                     });
    QObject::connect(
        process, &QProcess::finished, process,
        [process, outputs, drain, report, program = command.program](
            int exitCode, QProcess::ExitStatus exitStatus) {
            drain(QProcess::StandardOutput);
            drain(QProcess::StandardError);
            if (outputs->overflowed) {
                report({.failure = overflowText(program)});
                return;
            }
            report({.exitStatus = exitCode,
                    .crashed = exitStatus == QProcess::CrashExit,
                    .standardOutput = decodeStrictUtf8(outputs->standardOutput),
                    .standardError = decodeStrictUtf8(outputs->standardError)});
        });

    if (command.standardInput.isEmpty())
        process->setStandardInputFile(QProcess::nullDevice());
    if (!command.captureStandardOutput)
        process->setStandardOutputFile(QProcess::nullDevice());
    process->start(command.program, command.arguments,
                   command.standardInput.isEmpty() ? QIODevice::ReadOnly : QIODevice::ReadWrite);
    if (!command.standardInput.isEmpty()) {
        // Written once the pipe is open; a program that never reads it still sees its end.
        process->write(command.standardInput);
        process->closeWriteChannel();
    }
    return future;
}

} // namespace kestrel
