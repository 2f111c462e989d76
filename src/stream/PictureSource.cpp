// SPDX-License-Identifier: GPL-3.0-or-later
#include "stream/PictureSource.h"

namespace kestrel {

void PictureSource::setDecodeSize(QSize size, qreal devicePixelRatio)
{
    m_target.size = size;
    m_target.devicePixelRatio = devicePixelRatio;
}

void PictureSource::publishPicture(QImage image)
{
    m_image = std::move(image);
    m_rate.record(m_clock.elapsed());
    emit imageChanged();
    setErrorText(std::nullopt);
}

void PictureSource::setErrorText(std::optional<QString> text)
{
    if (text == m_errorText)
        return;
    m_errorText = std::move(text);
    emit errorTextChanged();
}

} // namespace kestrel
