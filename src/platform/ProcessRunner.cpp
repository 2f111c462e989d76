// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ProcessRunner.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QPointer>
#include <QProcess>
#include <QPromise>
#include <QStringDecoder>
#include <QThread>

#include <functional>
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

// Children start, are watched and end on a thread of their own. Starting a program holds the
// starting thread until the child has loaded it, and on a busy machine the child may wait for a
// core: on the GUI thread that was a stall that nobody could see coming.
QThread *processThread = nullptr;
QObject *processHome = nullptr; // lives in the process thread, and is the parent of every child

// At the very end: children still running go with the application, then the thread does.
void endProcessThread()
{
    QMetaObject::invokeMethod(
        processHome,
        [] {
            for (QProcess *process : processHome->findChildren<QProcess *>()) {
                process->disconnect();
                process->kill();
                process->waitForFinished();
            }
        },
        Qt::BlockingQueuedConnection);
    processThread->quit();
    processThread->wait();
    delete std::exchange(processHome, nullptr);
    delete std::exchange(processThread, nullptr);
}

QObject &home()
{
    if (!processHome) {
        processThread = new QThread;
        processThread->setObjectName(QStringLiteral("kestrel-processes"));
        processThread->start();
        processHome = new QObject;
        processHome->moveToThread(processThread);
        qAddPostRoutine(endProcessThread);
    }
    return *processHome;
}

// On the process thread: starts the program and calls `report` there once it has ended.
void launch(const ProcessCommand &command, QPointer<QProcess> &running,
            const std::function<void(ProcessResult)> &report)
{
    auto *process = new QProcess(processHome);
    running = process;
    auto outputs = std::make_shared<Outputs>();
    auto end = [process, report](ProcessResult result) {
        process->disconnect();
        process->deleteLater();
        report(std::move(result));
    };
    auto drain = [process, outputs](QProcess::ProcessChannel channel) {
        process->setReadChannel(channel);
        const QByteArray chunk = process->readAll();
        if (outputs->overflowed)
            return;
        QByteArray &kept =
            channel == QProcess::StandardOutput ? outputs->standardOutput : outputs->standardError;
        kept += chunk;
        if (kept.size() > largestProcessOutput) {
            outputs->overflowed = true;
            kept.clear();
            process->kill();
        }
    };
    QObject::connect(process, &QProcess::readyReadStandardOutput, process,
                     [drain] { drain(QProcess::StandardOutput); });
    QObject::connect(process, &QProcess::readyReadStandardError, process,
                     [drain] { drain(QProcess::StandardError); });
    QObject::connect(process, &QProcess::errorOccurred, process,
                     [program = command.program, end](QProcess::ProcessError error) {
                         if (error == QProcess::FailedToStart)
                             end({.failure = launchErrorText(program)});
                     });
    QObject::connect(process, &QProcess::finished, process,
                     [outputs, drain, end,
                      program = command.program](int exitCode, QProcess::ExitStatus exitStatus) {
                         drain(QProcess::StandardOutput);
                         drain(QProcess::StandardError);
                         if (outputs->overflowed) {
                             end({.failure = overflowText(program)});
                             return;
                         }
                         end({.exitStatus = exitCode,
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
}

} // namespace

// The caller's side of a run is a small object of the owner's: the result is handed to the
// caller through it, on the caller's thread, and its end (the owner's) ends the run. Kestrel
// runs every program from its GUI thread.
QFuture<ProcessResult> runProcess(const ProcessCommand &command, QObject *owner)
{
    // If the owner goes first, destroying the promise unheard cancels the future.
    auto promise = std::make_shared<QPromise<ProcessResult>>();
    promise->start();
    QFuture<ProcessResult> future = promise->future();
    auto *caller = new QObject(owner);
    auto running = std::make_shared<QPointer<QProcess>>(); // read and written on the process thread

    // When the owner goes, the child goes with it at once (a snapshot's file is removed only once
    // curl is gone), and nothing it did afterwards reports.
    QObject::connect(caller, &QObject::destroyed, [running] {
        if (!processHome)
            return; // the application has ended, and its children with it
        QMetaObject::invokeMethod(
            processHome,
            [running] {
                if (QProcess *process = *running) {
                    process->disconnect();
                    process->kill();
                    process->waitForFinished();
                    delete process;
                }
            },
            Qt::BlockingQueuedConnection);
    });
    auto report = [caller = QPointer(caller), promise](ProcessResult result) {
        QMetaObject::invokeMethod(qApp, [caller, promise, result = std::move(result)] {
            if (!caller)
                return;
            QObject::disconnect(caller, &QObject::destroyed, nullptr, nullptr);
            caller->deleteLater();
            promise->addResult(result);
            promise->finish();
        });
    };
    QMetaObject::invokeMethod(&home(),
                              [command, running, report] { launch(command, *running, report); });
    return future;
}

} // namespace kestrel
