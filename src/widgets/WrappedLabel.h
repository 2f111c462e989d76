// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLabel>

#include <array>

namespace kestrel {

// A text that wraps, and that remembers how tall it is at a width. Each layout of a window asks
// every wrapped text for its height again, and a new printer status lays out the window it shows
// in; shaping the text anew is what costs, some hundreds of times a second with twenty printers.
class WrappedLabel : public QLabel
{
    Q_OBJECT

public:
    explicit WrappedLabel(const QString &text = {}, QWidget *parent = nullptr);

    int heightForWidth(int width) const override;

protected:
    void changeEvent(QEvent *event) override;

private:
    struct Measure
    {
        int width = -1;
        int height = 0;
    };
    // A scroll area asks at two widths, with and without its scroll bar; a box layout at more.
    mutable std::array<Measure, 4> m_measures;
    mutable std::size_t m_nextMeasure = 0;
    mutable QString m_measuredText;
};

} // namespace kestrel
