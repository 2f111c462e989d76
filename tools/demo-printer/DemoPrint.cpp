// SPDX-License-Identifier: GPL-3.0-or-later
#include "DemoPrint.h"

#include <QStringList>

#include <algorithm>
#include <cmath>

namespace kestrel::demo {

namespace {

constexpr qint64 klippyDownMs = 5000;
constexpr qint64 shutdownMs = 10000;
const QString restartAdvice =
    QStringLiteral("Once the underlying issue is corrected, use the\n"
                   "\"FIRMWARE_RESTART\" command to reset the firmware, reload the\n"
                   "config, and restart the host software.\n"
                   "Printer is shutdown\n");
const QString mcuShutdown =
    QStringLiteral("MCU 'mcu' shutdown: Timer too close\n"
                   "This often indicates a host computer overload. Check\n"
                   "for other processes consuming excessive CPU time, high swap\n"
                   "usage, disk errors, overheating, unstable voltage, or\n"
                   "similar system problems on the host computer.\n") +
    restartAdvice;
const QString emergencyStop = QStringLiteral("Shutdown due to M112 command\n") + restartAdvice;

constexpr double room = 22;
constexpr double nozzleTarget = 215;
constexpr double bedTarget = 60;

// A heater's first-order approach to `goal`, its target or the room, with the time constant
// `seconds`.
double approach(double temperature, double goal, double elapsed, double seconds)
{
    return goal + (temperature - goal) * std::exp(-elapsed / seconds);
}

QJsonObject heater(double temperature, double target)
{
    return {{QStringLiteral("temperature"), std::round(temperature * 100) / 100},
            {QStringLiteral("target"), target}};
}

} // namespace

DemoPrint::DemoPrint(double printLength, KlipperFault fault, std::chrono::milliseconds rest)
    : m_printLength(printLength), m_fault(fault), m_restMs(rest.count()), m_nozzle(room),
      m_bed(room)
{
    enter(fault == KlipperFault::idle ? QStringLiteral("standby") : QStringLiteral("printing"));
}

const QString &DemoPrint::file()
{
    static const QString name = QStringLiteral("kestrel-benchy.gcode");
    return name;
}

bool DemoPrint::isControl(const QString &method)
{
    static const QStringList methods{
        QStringLiteral("printer.print.pause"), QStringLiteral("printer.print.resume"),
        QStringLiteral("printer.print.cancel"), QStringLiteral("printer.emergency_stop"),
        QStringLiteral("printer.firmware_restart")};
    return methods.contains(method);
}

bool DemoPrint::klippyReady() const
{
    return !m_down.isValid() || m_down.elapsed() >= klippyDownMs;
}

QString DemoPrint::klippyState() const
{
    return !klippyReady()         ? QStringLiteral("startup")
           : m_shutdown.isValid() ? QStringLiteral("shutdown")
                                  : QStringLiteral("ready");
}

bool DemoPrint::heating() const
{
    return (m_state == u"printing" || m_state == u"paused") && !m_shutdown.isValid();
}

// Whether the heaters have reached what they are heading for, to a tenth of a degree.
bool DemoPrint::heatersSettled() const
{
    const bool heat = heating();
    return std::abs(m_nozzle - (heat ? nozzleTarget : room)) < 0.1 &&
           std::abs(m_bed - (heat ? bedTarget : room)) < 0.1;
}

QJsonObject DemoPrint::objects() const
{
    const double progress = std::min(1.0, m_printed / m_printLength);
    const bool standby = m_state == u"standby";
    const bool heat = heating();
    return {{QStringLiteral("print_stats"),
             QJsonObject{{QStringLiteral("state"), m_state},
                         {QStringLiteral("filename"), standby ? QString() : file()},
                         {QStringLiteral("print_duration"), standby ? 0 : m_printed},
                         {QStringLiteral("total_duration"), standby ? 0 : m_total},
                         {QStringLiteral("message"),
                          m_state == u"error" ? QStringLiteral("Heater extruder not "
                                                               "heating at expected rate")
                                              : QString()},
                         {QStringLiteral("info"),
                          QJsonObject{{QStringLiteral("total_layer"), layers},
                                      {QStringLiteral("current_layer"),
                                       std::min(layers, int(progress * layers) + 1)}}}}},
            {QStringLiteral("display_status"), QJsonObject{{QStringLiteral("progress"), progress}}},
            {QStringLiteral("extruder"), heater(m_nozzle, heat ? nozzleTarget : 0)},
            {QStringLiteral("heater_bed"), heater(m_bed, heat ? bedTarget : 0)},
            {QStringLiteral("webhooks"),
             QJsonObject{
                 {QStringLiteral("state"),
                  m_shutdown.isValid() ? QStringLiteral("shutdown") : QStringLiteral("ready")},
                 {QStringLiteral("state_message"),
                  m_shutdown.isValid() ? m_shutdownMessage : QStringLiteral("Printer is ready")}}},
            {QStringLiteral("virtual_sdcard"),
             QJsonObject{{QStringLiteral("progress"), progress},
                         {QStringLiteral("is_active"), m_state == u"printing"},
                         {QStringLiteral("file_position"), int(progress * 4'000'000)}}}};
}

// As Klipper takes them: what does not apply to the print's state is an error, in Klipper's
// words.
std::variant<DemoPrint::News, DemoPrint::Refusal> DemoPrint::control(const QString &method)
{
    if (method == u"printer.firmware_restart")
        return restartFirmware();
    if (!klippyReady())
        return Refusal{503, QStringLiteral("Klippy Disconnected")};
    if (method == u"printer.emergency_stop")
        return m_shutdown.isValid() ? News{} : shutDown(emergencyStop, false);
    if (m_shutdown.isValid())
        return Refusal{400, QStringLiteral("Printer is shutdown")};
    const bool underWay = m_state == u"printing" || m_state == u"paused";
    if (method == u"printer.print.pause" && m_state != u"printing")
        return Refusal{400, QStringLiteral("Print is not printing")};
    if (method == u"printer.print.resume" && m_state != u"paused")
        return Refusal{400, QStringLiteral("Print is not paused")};
    if (method == u"printer.print.cancel" && !underWay)
        return Refusal{400, QStringLiteral("No print in progress")};
    enter(method == u"printer.print.pause"    ? QStringLiteral("paused")
          : method == u"printer.print.resume" ? QStringLiteral("printing")
                                              : QStringLiteral("cancelled"));
    return News{.statusChanged = true};
}

void DemoPrint::enter(const QString &state)
{
    m_state = state;
    m_inState.start();
}

DemoPrint::News DemoPrint::shutDown(const QString &message, bool restartsItself)
{
    m_shutdown.start();
    m_shutdownMessage = message;
    m_restartsItself = restartsItself;
    return {.shutDown = true};
}

// As FIRMWARE_RESTART does: Klipper goes away, and comes back without the print it stopped.
DemoPrint::News DemoPrint::restartFirmware()
{
    m_shutdown.invalidate();
    enter(QStringLiteral("standby"));
    m_down.start();
    return {.klippyGone = true};
}

// The print goes on and the heaters follow. A Klipper that stands shut down reads no heater
// and says nothing.
DemoPrint::News DemoPrint::advance(double seconds)
{
    if (m_shutdown.isValid()) {
        if (m_restartsItself && m_shutdown.elapsed() >= shutdownMs)
            return restartFirmware();
        return {};
    }
    const bool heat = heating();
    m_nozzle = approach(m_nozzle, heat ? nozzleTarget : room, seconds, 4);
    m_bed = approach(m_bed, heat ? bedTarget : room, seconds, 8);
    const QString before = m_state;
    if (m_state == u"printing" || m_state == u"paused")
        m_total += seconds;
    if (m_state == u"printing") {
        m_printed = std::min(m_printLength, m_printed + seconds);
        const double progress = m_printed / m_printLength;
        if (m_fault == KlipperFault::printError && progress >= 0.5)
            enter(QStringLiteral("error"));
        else if (progress >= 1.0)
            enter(QStringLiteral("complete"));
        if (m_fault == KlipperFault::shutdown && !m_restarted && progress >= 1.0 / 3) {
            m_restarted = true;
            return shutDown(mcuShutdown, true);
        }
        if (m_fault == KlipperFault::restart && !m_restarted && progress >= 1.0 / 3) {
            m_restarted = true;
            m_down.start();
            return {.klippyGone = true};
        }
    } else if (m_state == u"standby") {
        if (m_fault != KlipperFault::idle && m_inState.elapsed() >= m_restMs) {
            m_printed = 0; // the next print of the same file
            m_total = 0;
            m_restarted = false;
            enter(QStringLiteral("printing"));
        }
    } else if (m_state != u"paused" && m_inState.elapsed() >= m_restMs) {
        enter(QStringLiteral("standby"));
    }
    News news;
    if (m_down.isValid() && klippyReady()) {
        m_down.invalidate();
        news.klippyBack = true;
    }
    news.statusChanged = klippyReady() && (m_state != before || m_state == u"printing" ||
                                           m_state == u"paused" || !heatersSettled());
    return news;
}

} // namespace kestrel::demo
