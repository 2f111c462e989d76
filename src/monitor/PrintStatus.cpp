// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/PrintStatus.h"

#include "settings/PrinterApi.h"

#include <QCoreApplication>
#include <QJsonValue>

#include <cmath>

namespace kestrel {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("PrintStatus", text);
}

double number(const QJsonObject &object, QStringView key)
{
    const double value = object.value(key).toDouble();
    return std::isfinite(value) ? value : 0;
}

std::optional<int> layer(const QJsonObject &info, QStringView key)
{
    const QJsonValue value = info.value(key);
    if (!value.isDouble() || value.toDouble() < 0 || value.toDouble() > 1e6)
        return std::nullopt;
    return int(value.toDouble());
}

// Klipper's messages go on with advice over several lines; the first says what happened.
QString firstLine(const QString &text)
{
    return text.trimmed().section(u'\n', 0, 0).trimmed();
}

PrintStatus::State stateNamed(const QString &name)
{
    using State = PrintStatus::State;
    static const QHash<QString, State> states{{QStringLiteral("standby"), State::standby},
                                              {QStringLiteral("printing"), State::printing},
                                              {QStringLiteral("paused"), State::paused},
                                              {QStringLiteral("complete"), State::complete},
                                              {QStringLiteral("cancelled"), State::cancelled},
                                              {QStringLiteral("error"), State::error}};
    return states.value(name, State::standby);
}

std::optional<HeaterReading> heater(const QJsonObject &objects, QStringView name)
{
    const QJsonObject object = objects.value(name).toObject();
    const QJsonValue temperature = object.value(u"temperature");
    if (!temperature.isDouble() || !std::isfinite(temperature.toDouble()))
        return std::nullopt;
    return HeaterReading{temperature.toDouble(), std::max(0.0, number(object, u"target"))};
}

QString heaterText(const QString &name, const HeaterReading &reading)
{
    const QString now = QString::number(qRound(reading.temperature));
    return name + u' ' +
           (reading.target > 0 ? now + u'/' + QString::number(qRound(reading.target)) : now) +
           QStringLiteral(" °C");
}

} // namespace

PrintStatus PrintStatus::fromObjects(const QJsonObject &objects)
{
    const QJsonObject stats = objects.value(u"print_stats").toObject();
    const QJsonObject card = objects.value(u"virtual_sdcard").toObject();
    const QJsonObject info = stats.value(u"info").toObject();
    PrintStatus status;
    status.state = stateNamed(stats.value(u"state").toString());
    status.filename = stats.value(u"filename").toString();
    status.printDuration = std::max(0.0, number(stats, u"print_duration"));
    if (const QJsonValue total = stats.value(u"total_duration"); total.isDouble())
        status.totalDuration = std::max(0.0, number(stats, u"total_duration"));
    status.progress = std::clamp(number(card, u"progress"), 0.0, 1.0);
    status.displayProgress =
        std::clamp(number(objects.value(u"display_status").toObject(), u"progress"), 0.0, 1.0);
    status.currentLayer = layer(info, u"current_layer");
    status.totalLayers = layer(info, u"total_layer");
    status.message = stats.value(u"message").toString();
    status.nozzle = heater(objects, u"extruder");
    status.secondNozzle = heater(objects, u"extruder1");
    status.bed = heater(objects, u"heater_bed");
    // Klipper leaves the print "printing" when it shuts down; only its own state tells.
    const QJsonObject klipper = objects.value(u"webhooks").toObject();
    if (klipper.value(u"state").toString() == u"shutdown") {
        status.state = State::shutdown;
        status.message = firstLine(klipper.value(u"state_message").toString());
    }
    return status;
}

std::optional<double> secondsLeft(const PrintStatus &status, std::optional<double> slicerEstimate)
{
    if (status.printDuration <= 0)
        return std::nullopt;
    double sum = 0;
    int estimates = 0;
    if (status.progress >= 0.01) {
        sum += status.printDuration / status.progress - status.printDuration;
        ++estimates;
    }
    if (slicerEstimate && *slicerEstimate > status.printDuration) {
        sum += *slicerEstimate - status.printDuration;
        ++estimates;
    }
    if (estimates == 0)
        return std::nullopt;
    return std::max(0.0, sum / estimates);
}

QString durationText(double seconds)
{
    const qint64 minutes = qint64(std::ceil(std::max(0.0, seconds) / 60));
    if (minutes < 60)
        return tr("%1 min").arg(minutes);
    return tr("%1 h %2 min").arg(minutes / 60).arg(minutes % 60);
}

PrintStatusLine printStatusLine(const PrintStatus &status, std::optional<double> slicerEstimate)
{
    using State = PrintStatus::State;
    const QString dot = QStringLiteral(" · ");
    switch (status.state) {
    case State::none:
    case State::standby:
        return {};
    case State::unauthorized:
        return {printerApi::unauthorizedText(), {}, {}};
    case State::apiUnavailable:
        return {status.message, {}, {}};
    case State::klippyNotReady:
        return {tr("Klipper nicht bereit"), {}, {}};
    case State::shutdown:
        return {tr("Klipper gestoppt: ") + status.message, {}, {}};
    case State::error:
        return {tr("Fehler: ") + status.message, {}, {}};
    case State::complete:
        return {tr("Fertig") + dot, status.filename, dot + durationText(status.printDuration)};
    case State::cancelled:
        return {tr("Abgebrochen") + dot, status.filename, dot + durationText(status.printDuration)};
    case State::printing:
    case State::paused:
        break;
    }
    const double progress = status.displayProgress > 0 ? status.displayProgress : status.progress;
    QString tail = dot + QString::number(int(progress * 100)) + QStringLiteral(" %");
    if (const auto left = secondsLeft(status, slicerEstimate))
        tail += dot + tr("noch ") + durationText(*left);
    QString layers;
    if (status.currentLayer && status.totalLayers && *status.totalLayers > 0)
        layers = dot + tr("Schicht %1/%2").arg(*status.currentLayer).arg(*status.totalLayers);
    const QString heaters = temperatureText(status);
    return {(status.state == State::printing ? tr("Druckt") : tr("Pausiert")) + dot,
            status.filename,
            tail,
            layers,
            heaters.isEmpty() ? QString() : dot + heaters,
            progress};
}

QString temperatureText(const PrintStatus &status)
{
    // A Klipper that is down reads no heater: what it last said would stand frozen.
    if (status.state == PrintStatus::State::shutdown ||
        status.state == PrintStatus::State::klippyNotReady)
        return {};
    QStringList heaters;
    if (status.nozzle)
        heaters.append(heaterText(tr("Düse"), *status.nozzle));
    if (status.secondNozzle)
        heaters.append(heaterText(tr("Düse 2"), *status.secondNozzle));
    if (status.bed)
        heaters.append(heaterText(tr("Bett"), *status.bed));
    return heaters.join(QStringLiteral(" · "));
}

} // namespace kestrel
