// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

namespace kestrel {

// One heater as the host reports it, in °C; a target of 0 means the heater is off.
struct HeaterReading
{
    double temperature = 0;
    double target = 0;

    friend bool operator==(const HeaterReading &, const HeaterReading &) = default;
};

// What the printer is doing, as its host reports it: the print's state, file, progress and
// layers, and the heaters. Read from the host's printer objects (print_stats, display_status,
// virtual_sdcard, extruder, extruder1, heater_bed), whatever their types: a value of the wrong
// type counts as missing.
struct PrintStatus
{
    enum class State
    {
        none,           // nothing known: no host API, or not connected
        unauthorized,   // the host's API wants another key than the one Kestrel has
        apiUnavailable, // the host's API does not answer (its web server does); `message` says how
        klippyNotReady,
        shutdown, // Klipper stopped itself (a heater fault, a lost MCU); `message` says why
        standby,
        printing,
        paused,
        complete,
        cancelled,
        error
    };

    State state = State::none;
    QString filename;
    double printDuration = 0;            // seconds spent printing, pauses left out
    std::optional<double> totalDuration; // seconds since the print began, pauses included
    double progress = 0;                 // 0 to 1, through the file
    double displayProgress = 0;          // 0 to 1, as the slicer's M73 says, if it does
    std::optional<int> currentLayer;
    std::optional<int> totalLayers;
    QString message;
    std::optional<HeaterReading> nozzle;
    std::optional<HeaterReading> secondNozzle;
    std::optional<HeaterReading> bed;

    static PrintStatus fromObjects(const QJsonObject &objects);
    bool isUnderWay() const { return state == State::printing || state == State::paused; }
    friend bool operator==(const PrintStatus &, const PrintStatus &) = default;
};

// Seconds left, as the printer front-ends estimate them: from the file's progress once past 1 %,
// from the slicer's estimate while the print has not yet overrun it, the mean of the two where
// both exist. None while the printer still heats (no time printed yet).
std::optional<double> secondsLeft(const PrintStatus &status, std::optional<double> slicerEstimate);

// "1 h 12 min", or "8 min" under an hour.
QString durationText(double seconds);

// The line a camera window and the main window show: "Druckt · benchy.gcode · 42 % · noch
// 1 h 12 min · Schicht 14/120", and so on; empty when there is nothing to say. The file name
// stands apart, so that a narrow window can shorten it in the middle.
struct PrintStatusLine
{
    QString lead;     // "Druckt · "
    QString filename; // "benchy.gcode"
    QString tail;     // " · 42 % · noch 1 h 12 min"
    QString layers;   // " · Schicht 14/120", which a narrow window leaves out first
    // " · Düse 215/215 °C · Bett 60/60 °C", shown only where there is room for it; not part of
    // text()
    QString temperatures;
    std::optional<double> progress; // 0 to 1, while a print runs or is paused

    QString text() const { return lead + filename + tail + layers; }
    bool isEmpty() const { return text().isEmpty(); }
    // The same state of the same print: only its figures may differ.
    bool sameStage(const PrintStatusLine &other) const
    {
        return lead == other.lead && filename == other.filename;
    }
    friend bool operator==(const PrintStatusLine &, const PrintStatusLine &) = default;
};
PrintStatusLine printStatusLine(const PrintStatus &status, std::optional<double> slicerEstimate);

// The heaters in whole degrees: "Düse 215/215 °C · Düse 2 24 °C · Bett 60/60 °C", a heater
// without a target of its own without one; empty for a host without heaters, and while Klipper
// is shut down or not ready.
QString temperatureText(const PrintStatus &status);

} // namespace kestrel
