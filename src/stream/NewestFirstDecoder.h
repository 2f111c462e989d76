// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "stream/PictureDecoder.h"

#include <QByteArray>
#include <QObject>

#include <functional>
#include <optional>

namespace kestrel {

// Decodes a camera's pictures on the decoding threads, one at a time and newest first: bytes
// handed in while another picture is decoded wait, and replace any that waited before. A busy
// machine then shows the latest picture a little late, never every picture later and later.
class NewestFirstDecoder : public QObject
{
    Q_OBJECT

public:
    // `decoded` hears of each picture on the owner's thread; none for bytes that are no picture.
    NewestFirstDecoder(std::function<void(std::optional<QImage>)> decoded, QObject *parent);

    void decode(QByteArray bytes, const DecodeTarget &target);
    // What is being decoded, or waits, is never told: the pictures are from before a stop.
    void forget();
    qsizetype waitingBytes() const { return m_waiting ? m_waiting->first.size() : 0; }

private:
    const std::function<void(std::optional<QImage>)> m_decoded;
    bool m_decoding = false;
    std::optional<std::pair<QByteArray, DecodeTarget>> m_waiting;
    quint64 m_generation = 0;
};

} // namespace kestrel
