// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFuture>
#include <QObject>
#include <QString>
#include <QStringList>

namespace kestrel {

// One run of an external program: a fixed absolute path and a fixed argument list, handed to the
// program as they are. No shell is involved, so no text in an argument can become a command.
struct ProcessCommand
{
    QString program;
    QStringList arguments;
    bool captureStandardOutput = false; // otherwise standard output is discarded
};

struct ProcessResult
{
    bool launched = false;
    QString launchError; // a German sentence naming the program and why it could not start
    int exitStatus = 0;  // the exit code, or the signal number when the program crashed
    bool crashed = false;
    QString standardOutput; // strict UTF-8: empty when not captured or not valid UTF-8
    QString standardError;  // strict UTF-8, as above

    bool succeeded() const { return launched && !crashed && exitStatus == 0; }
};

// Starts the program without blocking and reports once it has ended. Standard input is empty,
// so a program that reads it cannot hang. The process belongs to `owner`: when the owner goes
// away first, the process is killed and the future is cancelled, so nothing reports to a caller
// that no longer exists.
QFuture<ProcessResult> runProcess(const ProcessCommand &command, QObject *owner);

// UTF-8 decoding that refuses instead of repairing: invalid bytes give the empty text.
QString decodeStrictUtf8(const QByteArray &bytes);

} // namespace kestrel
