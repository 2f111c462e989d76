// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

// What must hold for any input at all; a violation stops the program (the fuzzer reports it as
// a crash and keeps the input). The same checks replay the kept inputs in the test suite.
namespace kestrel::fuzz {

// Any bytes as a settings file: loading succeeds and keeps the store's rules.
void checkSettingsDocument(const QByteArray &bytes);

// Any bytes as an MJPEG stream's body, arriving in pieces of the sizes its first byte picks: the
// reader never holds more than its limits, never hands out a larger part, and cuts the same
// pictures however the bytes arrive.
void checkMjpegStream(const QByteArray &bytes);

// Any bytes as a camera's picture, to be fitted into a window whose size and camera orientation
// the first two bytes pick: none, or a picture that fits the window (a pixel or two over at
// most); a JPEG in the painted pixels, and never with more pixels than were sent.
void checkPicture(const QByteArray &bytes);

// Any bytes as the printer host's JSON-RPC frames, one per line: the status stays within its
// ranges, and nothing is asked more than once per frame.
void checkPrintStatusFrames(const QByteArray &bytes);

// Any bytes as the printer host's webcam list, taken over as "Vom Drucker übernehmen" does: the
// settings keep their rules, and the user always reads what happened.
void checkWebcamList(const QByteArray &bytes);

// Any bytes as frame text: reading never fails, and what the writer writes reads back exactly.
void checkFrameText(const QByteArray &bytes);

} // namespace kestrel::fuzz
