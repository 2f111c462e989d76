// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

namespace kestrel {

// The boundary of a multipart/x-mixed-replace body from its Content-Type, as the streamers people
// run write it: with or without a blank after the semicolon, in quotes or not. Any dashes it
// begins with are left off, since streamers disagree whether the body repeats them. None when
// the type is no such stream.
std::optional<QByteArray> mjpegBoundary(QByteArrayView contentType);

// Cuts an MJPEG stream's body into its pictures as the bytes arrive, in pieces of any size. A
// part may say its Content-Length or not; without one it ends at the next boundary. A boundary
// counts only at the start of a line, after two dashes or more (so that a declared "--x" delimits
// as "--x" and as "----x"), never inside a picture. It holds at most the part in progress: a part
// larger than largestPart, or a header block that does not end within largestHeaders, is a broken
// stream, and from then on nothing more is read.
class MjpegPartReader
{
public:
    static constexpr qsizetype largestHeaders = 16 * 1024;
    // Longer than any boundary a multipart body may declare, and than the dashes before it.
    static constexpr qsizetype longestBoundary = 70;

    MjpegPartReader(QByteArray boundary, qsizetype largestPart);

    enum class Problem
    {
        none,
        partTooLarge,
        headersTooLong,
    };

    // Takes the next bytes; returns the newest whole part they finished, if any (older ones
    // finished by the same bytes are dropped: only the newest picture is ever shown).
    std::optional<QByteArray> feed(QByteArrayView bytes);
    Problem problem() const { return m_problem; }
    // Bytes held for the part in progress.
    qsizetype held() const { return m_buffer.size(); }

private:
    enum class State
    {
        seekingBoundary,
        endOfBoundaryLine,
        headers,
        body,
    };

    // A delimiter line: where its dashes start, and where the boundary after them ends.
    struct Delimiter
    {
        qsizetype start;
        qsizetype end;
    };
    std::optional<Delimiter> findDelimiter() const;
    bool step(std::optional<QByteArray> &finished);
    bool seekBoundary();
    bool readHeaders();
    bool readBody(std::optional<QByteArray> &finished);
    void fail(Problem problem);

    const QByteArray m_boundary; // without any dashes before it
    const qsizetype m_largestPart;
    QByteArray m_buffer;
    bool m_bufferStartsLine = true; // false once bytes before the buffer's start were dropped
    State m_state = State::seekingBoundary;
    std::optional<qsizetype> m_length; // the part's Content-Length, if it gave one
    qsizetype m_searched = 0;          // how far the buffer has been searched for a boundary
    Problem m_problem = Problem::none;
};

} // namespace kestrel
