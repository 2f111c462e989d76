// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFuture>
#include <QObject>
#include <QString>
#include <QStringList>

#include <optional>

namespace kestrel {

// One run of an external program: a fixed absolute path and a fixed argument list, handed to the
// program as they are. No shell is involved, so no text in an argument can become a command.
struct ProcessCommand
{
    QString program;
    QStringList arguments;
    bool captureStandardOutput = false; // otherwise standard output is discarded
    // What the program reads, for what must not stand in the argument vector (where every user
    // of the machine can read it); empty input otherwise.
    QByteArray standardInput;
};

struct ProcessResult
{
    // Why the run came to no exit status of its own, as a German sentence naming the program:
    // it could not start, or it said more than is kept and was stopped. None when it ended.
    std::optional<QString> failure;
    int exitStatus = 0; // the exit code, or the signal number when the program crashed
    bool crashed = false;
    QString standardOutput; // strict UTF-8: empty when not captured or not valid UTF-8
    QString standardError;  // strict UTF-8, as above

    bool succeeded() const { return !failure && !crashed && exitStatus == 0; }
};

// More than this on either output stream is no answer any caller of ours expects (a web page
// where a list was asked for, a script that prints without end); keeping it would let a child
// take the memory of the whole application.
constexpr qint64 largestProcessOutput = 1024 * 1024;

// Starts the program without blocking, on a thread kept for programs, and reports on the
// caller's thread once it has ended. Standard input holds the
// command's input and then ends, so a program that reads it cannot hang. A program that writes more
// than largestProcessOutput to either stream is killed, and the run fails. The process belongs to
// `owner`: when the owner goes away first, the process is killed and the future is cancelled,
// so nothing reports to a caller that no longer exists.
QFuture<ProcessResult> runProcess(const ProcessCommand &command, QObject *owner);

// Why a curl run that did not succeed failed, in the words the user sees: why it did not run to
// its end, else curl's own trimmed error output, else "curl-Fehler " and its status.
QString curlFailureText(const ProcessResult &result);

// UTF-8 decoding that refuses instead of repairing: invalid bytes give the empty text.
QString decodeStrictUtf8(const QByteArray &bytes);

} // namespace kestrel
