// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/CommandLine.h"

#include <cstdio>

namespace kestrel {

namespace {

void print(std::FILE *stream, const QString &text)
{
    std::fputs(text.toLocal8Bit().constData(), stream);
}

QString optionNames(const QCommandLineOption &option)
{
    QStringList names;
    for (const QString &name : option.names())
        names << (name.size() == 1 ? QStringLiteral("-") : QStringLiteral("--")) + name;
    QString text = names.join(QStringLiteral(", "));
    if (!option.valueName().isEmpty())
        text += QStringLiteral(" <%1>").arg(option.valueName());
    return text;
}

} // namespace

CommandLine::CommandLine(QString program, QString summary, QString notes)
    : m_program(std::move(program)), m_summary(std::move(summary)), m_notes(std::move(notes))
{
    m_parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    addOption(
        {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Zeigt diese Hilfe.")});
    addOption(
        {{QStringLiteral("v"), QStringLiteral("version")}, QStringLiteral("Zeigt die Version.")});
}

void CommandLine::addOption(const QCommandLineOption &option)
{
    m_options.append(option);
    m_parser.addOption(option);
}

std::optional<int> CommandLine::parse(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    if (!m_parser.parse(arguments)) {
        const QStringList unknown = m_parser.unknownOptionNames();
        print(stderr,
              unknown.isEmpty()
                  ? QStringLiteral("%1: Option ohne Wert oder mit falschem Wert\n").arg(m_program)
                  : QStringLiteral("%1: unbekannte Option „%2“\n").arg(m_program, unknown.first()));
        return 2;
    }
    if (!m_parser.positionalArguments().isEmpty()) {
        print(stderr, QStringLiteral("%1: unerwartetes Argument „%2“\n")
                          .arg(m_program, m_parser.positionalArguments().first()));
        return 2;
    }
    if (m_parser.isSet(QStringLiteral("help"))) {
        print(stdout, helpText());
        return 0;
    }
    if (m_parser.isSet(QStringLiteral("version"))) {
        print(stdout, QStringLiteral("%1 %2\n").arg(m_program, QStringLiteral(KESTREL_VERSION)));
        return 0;
    }
    return std::nullopt;
}

QString CommandLine::helpText() const
{
    int width = 0;
    for (const QCommandLineOption &option : m_options)
        width = std::max(width, int(optionNames(option).size()));
    QString text =
        QStringLiteral("Aufruf: %1 [Optionen]\n\n%2\n\nOptionen:\n").arg(m_program, m_summary);
    for (const QCommandLineOption &option : m_options)
        text +=
            QStringLiteral("  %1  %2\n").arg(optionNames(option), -width).arg(option.description());
    if (!m_notes.isEmpty())
        text += u'\n' + m_notes + u'\n';
    return text;
}

} // namespace kestrel
