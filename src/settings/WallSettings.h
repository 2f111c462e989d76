// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QObject>
#include <QRectF>

#include <optional>

namespace kestrel {

class KeyValueStore;

// How the printer wall orders its tiles.
enum class WallOrder
{
    printers, // as in the printer list
    timeLeft, // the print that ends first, first
    state,    // what needs the user first
};

// The printer wall's own options, kept at the top level of the store beside the global ones:
// whether it is open, where it stands, its order, whether it hides offline printers, and how
// many pictures a second each tile shows. What a file holds that is none of the offered values
// reads as the default.
class WallSettings : public QObject
{
    Q_OBJECT

public:
    // The choices offered for the pictures a second of every tile.
    static const QList<double> offeredRates;
    static constexpr double defaultRate = 2;

    explicit WallSettings(KeyValueStore &store, QObject *parent = nullptr);

    bool isOpen() const { return m_open; }
    // Where the wall stood, in screen coordinates; none before it was first placed.
    std::optional<QRectF> frame() const { return m_frame; }
    WallOrder order() const { return m_order; }
    bool hidesOffline() const { return m_hidesOffline; }
    double picturesPerSecond() const { return m_picturesPerSecond; }

    void setOpen(bool open);
    void setFrame(const QRectF &frame);
    void setOrder(WallOrder order);
    void setHidesOffline(bool hide);
    void setPicturesPerSecond(double rate);

signals:
    void changed();

private:
    void store(const QString &key, const QVariant &value);

    KeyValueStore &m_store;
    bool m_open = false;
    std::optional<QRectF> m_frame;
    WallOrder m_order = WallOrder::printers;
    bool m_hidesOffline = false;
    double m_picturesPerSecond = defaultRate;
};

} // namespace kestrel
