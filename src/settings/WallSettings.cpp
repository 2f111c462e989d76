// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/WallSettings.h"

#include "platform/FrameText.h"
#include "platform/KeyValueStore.h"
#include "settings/SettingsCodec.h"

namespace kestrel {

namespace {

namespace keys {
const QString open = QStringLiteral("wallOpen");
const QString frame = QStringLiteral("wallFrame");
const QString order = QStringLiteral("wallOrder");
const QString hidesOffline = QStringLiteral("wallHidesOffline");
const QString picturesPerSecond = QStringLiteral("wallPicturesPerSecond");
} // namespace keys

const QList<std::pair<WallOrder, QString>> orderNames{
    {WallOrder::printers, QStringLiteral("printers")},
    {WallOrder::timeLeft, QStringLiteral("timeLeft")},
    {WallOrder::state, QStringLiteral("state")}};

WallOrder decodeOrder(const QVariant &stored)
{
    const QString name = codec::decodeString(stored, {});
    for (const auto &[order, text] : orderNames) {
        if (text == name)
            return order;
    }
    return WallOrder::printers;
}

QString orderName(WallOrder order)
{
    for (const auto &[known, text] : orderNames) {
        if (known == order)
            return text;
    }
    return {};
}

double decodeRate(const QVariant &stored)
{
    const int type = stored.metaType().id();
    const bool number =
        type == QMetaType::Double || type == QMetaType::LongLong || type == QMetaType::Int;
    const double rate = number ? stored.toDouble() : 0;
    return WallSettings::offeredRates.contains(rate) ? rate : WallSettings::defaultRate;
}

std::optional<QRectF> decodeFrame(const QVariant &stored)
{
    const QRectF frame = rectFromString(codec::decodeString(stored, {}));
    return frame.width() > 0 && frame.height() > 0 ? std::optional(frame) : std::nullopt;
}

} // namespace

const QList<double> WallSettings::offeredRates{0.5, 1, 2, 5};

WallSettings::WallSettings(KeyValueStore &store, QObject *parent)
    : QObject(parent), m_store(store), m_open(codec::decodeBool(store.value(keys::open), false)),
      m_frame(decodeFrame(store.value(keys::frame))),
      m_order(decodeOrder(store.value(keys::order))),
      m_hidesOffline(codec::decodeBool(store.value(keys::hidesOffline), false)),
      m_picturesPerSecond(decodeRate(store.value(keys::picturesPerSecond)))
{}

void WallSettings::store(const QString &key, const QVariant &value)
{
    m_store.setValue(key, value);
    emit changed();
}

void WallSettings::setOpen(bool open)
{
    m_open = open;
    store(keys::open, codec::encode(open));
}

void WallSettings::setFrame(const QRectF &frame)
{
    m_frame = frame;
    store(keys::frame, codec::encode(stringFromRect(frame)));
}

void WallSettings::setOrder(WallOrder order)
{
    m_order = order;
    store(keys::order, codec::encode(orderName(order)));
}

void WallSettings::setHidesOffline(bool hide)
{
    m_hidesOffline = hide;
    store(keys::hidesOffline, codec::encode(hide));
}

void WallSettings::setPicturesPerSecond(double rate)
{
    m_picturesPerSecond = offeredRates.contains(rate) ? rate : defaultRate;
    // Whole rates as whole numbers, so the file reads as a person would write it.
    store(keys::picturesPerSecond, m_picturesPerSecond == qint64(m_picturesPerSecond)
                                       ? QVariant::fromValue(qint64(m_picturesPerSecond))
                                       : QVariant(m_picturesPerSecond));
}

} // namespace kestrel
