// SPDX-License-Identifier: GPL-3.0-or-later
#include "stream/MjpegPartReader.h"

#include <QList>

namespace kestrel {

std::optional<QByteArray> mjpegBoundary(QByteArrayView contentType)
{
    const QList<QByteArray> fields = contentType.toByteArray().split(';');
    if (fields.first().trimmed().toLower() != "multipart/x-mixed-replace")
        return std::nullopt;
    for (const QByteArray &field : fields.sliced(1)) {
        const qsizetype equals = field.indexOf('=');
        if (equals < 0 || field.left(equals).trimmed().toLower() != "boundary")
            continue;
        QByteArray boundary = field.mid(equals + 1).trimmed();
        if (boundary.size() >= 2 && boundary.startsWith('"') && boundary.endsWith('"'))
            boundary = boundary.mid(1, boundary.size() - 2);
        while (boundary.startsWith('-'))
            boundary.remove(0, 1);
        if (!boundary.isEmpty() && boundary.size() <= MjpegPartReader::longestBoundary)
            return boundary;
    }
    return std::nullopt;
}

MjpegPartReader::MjpegPartReader(QByteArray boundary, qsizetype largestPart)
    : m_boundary(std::move(boundary)), m_largestPart(largestPart)
{}

// Each place the boundary stands is looked back from: at least two dashes before it, and before
// them the start of a line. The walks back never overlap, so a search stays linear.
std::optional<MjpegPartReader::Delimiter> MjpegPartReader::findDelimiter() const
{
    qsizetype at = std::max<qsizetype>(0, m_searched - m_boundary.size() + 1);
    while ((at = m_buffer.indexOf(m_boundary, at)) >= 0) {
        qsizetype dashes = at;
        while (dashes > 0 && at - dashes <= longestBoundary && m_buffer[dashes - 1] == '-')
            --dashes;
        const bool lineStart = dashes == 0 ? m_bufferStartsLine : m_buffer[dashes - 1] == '\n';
        if (at - dashes >= 2 && at - dashes <= longestBoundary && lineStart)
            return Delimiter{dashes, at + m_boundary.size()};
        at += m_boundary.size();
    }
    return std::nullopt;
}

std::optional<QByteArray> MjpegPartReader::feed(QByteArrayView bytes)
{
    if (m_problem != Problem::none)
        return std::nullopt;
    m_buffer.append(bytes);
    std::optional<QByteArray> finished;
    while (step(finished)) {
    }
    return finished;
}

bool MjpegPartReader::step(std::optional<QByteArray> &finished)
{
    switch (m_state) {
    case State::seekingBoundary:
        return seekBoundary();
    case State::endOfBoundaryLine: {
        // The rest of the boundary line: nothing, or "--" after the last part.
        const qsizetype end = m_buffer.indexOf('\n');
        if (end < 0) {
            if (m_buffer.size() > largestHeaders)
                fail(Problem::headersTooLong);
            return false;
        }
        m_buffer.remove(0, end + 1);
        m_state = State::headers;
        return true;
    }
    case State::headers:
        return readHeaders();
    case State::body:
        return readBody(finished);
    }
    return false;
}

// Whatever comes before a boundary is no picture; only the last line, which may yet become a
// delimiter, is kept, and not even that once it grows longer than any header.
bool MjpegPartReader::seekBoundary()
{
    const auto delimiter = findDelimiter();
    if (!delimiter) {
        const qsizetype lastLine = m_buffer.lastIndexOf('\n') + 1;
        if (lastLine > 0) {
            m_buffer.remove(0, lastLine);
            m_bufferStartsLine = true;
        }
        if (m_buffer.size() > largestHeaders) {
            m_buffer.clear();
            m_bufferStartsLine = false;
        }
        m_searched = m_buffer.size();
        return false;
    }
    m_buffer.remove(0, delimiter->end);
    m_searched = 0;
    m_state = State::endOfBoundaryLine;
    return true;
}

bool MjpegPartReader::readHeaders()
{
    qsizetype block = -1;
    qsizetype skip = 0;
    if (m_buffer.startsWith("\r\n") || m_buffer.startsWith('\n')) {
        block = 0; // a part without headers
        skip = m_buffer.startsWith('\n') ? 1 : 2;
    } else {
        const qsizetype crlf = m_buffer.indexOf("\n\r\n");
        const qsizetype lf = m_buffer.indexOf("\n\n");
        if (crlf >= 0 && (lf < 0 || crlf < lf)) {
            block = crlf;
            skip = 3;
        } else if (lf >= 0) {
            block = lf;
            skip = 2;
        }
    }
    if (block < 0 || block > largestHeaders) {
        if (block > largestHeaders || m_buffer.size() > largestHeaders)
            fail(Problem::headersTooLong);
        return false;
    }
    m_length.reset();
    for (const QByteArray &line : m_buffer.left(block).split('\n')) {
        const qsizetype colon = line.indexOf(':');
        if (colon < 0 || line.left(colon).trimmed().toLower() != "content-length")
            continue;
        bool ok = false;
        const qlonglong length = line.mid(colon + 1).trimmed().toLongLong(&ok);
        if (ok && length >= 0)
            m_length = length;
    }
    m_buffer.remove(0, block + skip);
    if (m_length && *m_length > m_largestPart) {
        fail(Problem::partTooLarge);
        return false;
    }
    m_searched = 0;
    m_bufferStartsLine = true;
    m_state = State::body;
    return true;
}

bool MjpegPartReader::readBody(std::optional<QByteArray> &finished)
{
    if (m_length) {
        if (m_buffer.size() < *m_length)
            return false;
        if (*m_length > 0)
            finished = m_buffer.left(*m_length);
        m_buffer.remove(0, *m_length);
        m_searched = 0;
        m_bufferStartsLine = true; // some streamers put the next boundary right after the picture
        m_state = State::seekingBoundary;
        return true;
    }
    const auto delimiter = findDelimiter();
    if (!delimiter) {
        m_searched = m_buffer.size();
        if (m_buffer.size() > m_largestPart + 2) // the part and its line break
            fail(Problem::partTooLarge);
        return false;
    }
    QByteArray part = m_buffer.left(delimiter->start);
    // The line break before the boundary belongs to the boundary, not to the picture.
    if (part.endsWith('\n'))
        part.chop(part.endsWith("\r\n") ? 2 : 1);
    if (part.size() > m_largestPart) {
        fail(Problem::partTooLarge);
        return false;
    }
    if (!part.isEmpty())
        finished = std::move(part);
    m_buffer.remove(0, delimiter->end);
    m_searched = 0;
    m_state = State::endOfBoundaryLine;
    return true;
}

void MjpegPartReader::fail(Problem problem)
{
    m_problem = problem;
    m_buffer.clear();
    m_buffer.squeeze();
}

} // namespace kestrel
