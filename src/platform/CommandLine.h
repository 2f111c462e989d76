// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCommandLineParser>
#include <QStringList>

#include <optional>

namespace kestrel {

// A program's command line, read before any application object exists, so that --help and
// --version work over ssh with no display and no settings. Every text is German, like the rest
// of Kestrel: the help, and the one line for an unknown option, which ends the program with 2.
class CommandLine
{
public:
    // `summary` says in a sentence or two what the program does; `notes` follow the options
    // as sections of their own ("Heading:" lines).
    CommandLine(QString program, QString summary, QString notes = {});

    void addOption(const QCommandLineOption &option);

    // Reads argv. Returns the status to end with at once (0 after help or version, 2 for an
    // unknown option or an argument nobody asked for), or none when the program is to run.
    std::optional<int> parse(int argc, char *argv[]);

    bool isSet(const QCommandLineOption &option) const { return m_parser.isSet(option); }
    QString value(const QCommandLineOption &option) const { return m_parser.value(option); }
    QStringList values(const QCommandLineOption &option) const { return m_parser.values(option); }

private:
    QString helpText() const;

    QString m_program;
    QString m_summary;
    QString m_notes;
    QList<QCommandLineOption> m_options;
    QCommandLineParser m_parser;
};

} // namespace kestrel
