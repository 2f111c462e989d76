// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace kestrel {

// What switches the printer, named after what really runs: the shortcuts tool, which runs HomeKit
// scenes on the Mac, or Kestrel's scene runner, which starts the user's scene files (mostly for a
// smart plug) where there is no such tool. Every screen and message takes its words from here,
// so that all of them name the same thing.
struct PowerWords
{
    QString section;          // the settings' power section
    QString accessoryField;   // the name of the switched device
    QString statusField;      // the optional status shortcut or scene
    QString statusHint;       // what it is to say
    QString refresh;          // the button that asks again
    QString offQuestion;      // the settings' confirmation before switching off
    QString switchesOff;      // a camera window's confirmation before switching off; %1 is whom
    QString noScenes;         // a printer without scenes of its own; %1 is the printer
    QString sharedScene;      // another printer, %1, names the same scene, %2
    QString startQuestion;    // the start-up prompt's question
    QString cannotStart;      // the start-up prompt without a scene to start with; %1: printer
    QString powerLine;        // the main window's line before the state
    QString toolMissing;      // no program to run
    QString noStatus;         // no status shortcut or scene named; %1 is the printer
    QString noName;           // a power action without a name
    QString ran;              // a power action that worked; %1 is its name
    QString failed;           // a run that failed silently; %1 is its status
    QString statusFailed;     // a status run that failed without a word
    QString statusSaid;       // before what a status run said that is neither on nor off
    QString statusUnreadable; // a status run that said nothing readable

    static const PowerWords &shortcuts();
    static const PowerWords &scenes();
};

} // namespace kestrel
