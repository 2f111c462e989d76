// SPDX-License-Identifier: GPL-3.0-or-later
#include "power/StatusInterpretation.h"

#include "power/PowerWords.h"

#include <QCoreApplication>

#include <algorithm>

namespace kestrel {

namespace {

// Lower-cased pieces between characters that are neither letters, marks nor digits (Unicode).
QStringList words(const QString &text)
{
    QStringList result;
    QString current;
    for (const char32_t c : text.toLower().toUcs4()) {
        if (QChar::isLetterOrNumber(c) || QChar::isMark(c)) {
            current += QString::fromUcs4(&c, 1);
        } else if (!current.isEmpty()) {
            result << current;
            current.clear();
        }
    }
    if (!current.isEmpty())
        result << current;
    return result;
}

bool containsAny(const QStringList &words, std::initializer_list<QStringView> wanted)
{
    return std::any_of(words.cbegin(), words.cend(), [&](const QString &word) {
        return std::find(wanted.begin(), wanted.end(), word) != wanted.end();
    });
}

} // namespace

ShortcutExecutionResult shortcutResultFromProcess(const ProcessResult &process,
                                                  const PowerWords &words)
{
    if (process.failure)
        return {.success = false, .output = {}, .errorMessage = process.failure};
    const QString out = process.standardOutput.trimmed();
    if (process.succeeded())
        return {.success = true, .output = out, .errorMessage = std::nullopt};
    const QString err = process.standardError.trimmed();
    return {.success = false,
            .output = out,
            .errorMessage = err.isEmpty() ? words.failed.arg(process.exitStatus) : err};
}

HomeKitAccessoryState interpretStatusResult(const ShortcutExecutionResult &result,
                                            const PowerWords &said)
{
    if (!result.success) {
        return HomeKitAccessoryState::unknown(result.errorMessage.value_or(said.statusFailed));
    }
    const QStringList found = words(result.output);
    if (containsAny(found, {u"on", u"ein", u"an", u"true", u"1"}))
        return HomeKitAccessoryState::on();
    if (containsAny(found, {u"off", u"aus", u"false", u"0"}))
        return HomeKitAccessoryState::off();
    if (!result.output.isEmpty())
        return HomeKitAccessoryState::unknown(said.statusSaid + result.output);
    return HomeKitAccessoryState::unknown(said.statusUnreadable);
}

QString statusText(const HomeKitAccessoryState &state, const QString &printer)
{
    switch (state.kind()) {
    case HomeKitAccessoryState::Kind::checking:
        return QCoreApplication::translate("HomeKitManager", "Status von %1 wird geprueft")
            .arg(printer);
    case HomeKitAccessoryState::Kind::on:
        return QCoreApplication::translate("HomeKitManager", "%1 ist eingeschaltet").arg(printer);
    case HomeKitAccessoryState::Kind::off:
        return QCoreApplication::translate("HomeKitManager", "%1 ist ausgeschaltet").arg(printer);
    case HomeKitAccessoryState::Kind::unknown:
    case HomeKitAccessoryState::Kind::unavailable:
        break;
    }
    return state.message();
}

} // namespace kestrel
