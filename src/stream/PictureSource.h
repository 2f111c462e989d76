// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "stream/PictureDecoder.h"
#include "stream/PictureRate.h"

#include <QElapsedTimer>
#include <QImage>
#include <QList>
#include <QObject>
#include <QUrl>

#include <optional>

namespace kestrel {

// Where a camera window's pictures come from: still snapshots fetched one by one, or a live
// stream. Either way it publishes the latest picture, or the text of the latest failure over it
// (a failure never clears the picture), counts how many pictures it shows, and runs only while
// its window is shown, so the window treats both alike.
class PictureSource : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    // Starts showing pictures from these addresses, or keeps what runs if they are the same.
    // `fps` is the wished rate; a wall of many cameras may want less than one a second.
    void start(const QList<QUrl> &urls, double fps);
    void stop();
    // A pause is a stop that resume() takes back: the picture and the error text stay until the
    // next picture or failure. Any other list starts afresh.
    void pause();
    void resume(const QList<QUrl> &urls, double fps);
    virtual bool isRunning() const = 0;
    // The addresses pictures come from; none once stopped or paused.
    QList<QUrl> urls() const { return m_urls; }

    // Pictures are decoded to fit this size (device pixels), which keeps decoding cheap.
    void setDecodeSize(QSize size, qreal devicePixelRatio);
    // Pictures that arrive from now on are turned and mirrored so.
    void setOrientation(const CameraOrientation &orientation)
    {
        m_target.orientation = orientation;
    }

    QImage image() const { return m_image; }
    std::optional<QString> errorText() const { return m_errorText; }
    // Pictures shown per second lately; none right after the first, or after a pause.
    std::optional<double> picturesPerSecond() const { return m_rate.perSecond(m_clock.elapsed()); }

signals:
    void imageChanged();
    void errorTextChanged();

protected:
    // Fetching from urls() begins, or goes on after a pause; the picture and the error text stay.
    virtual void begin(double fps) = 0;
    // Whatever runs ends, and nothing still on its way is shown.
    virtual void halt() = 0;
    DecodeTarget decodeTarget() const { return m_target; }
    // A new picture, which also clears the failure text.
    void publishPicture(QImage image);
    void setErrorText(std::optional<QString> text);

private:
    DecodeTarget m_target;
    QElapsedTimer m_clock = [] {
        QElapsedTimer clock;
        clock.start();
        return clock;
    }();
    PictureRate m_rate;
    QList<QUrl> m_urls;
    QList<QUrl> m_pausedURLs;
    QImage m_image;
    std::optional<QString> m_errorText;
};

} // namespace kestrel
