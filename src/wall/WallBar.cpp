// SPDX-License-Identifier: GPL-3.0-or-later
#include "wall/WallBar.h"

#include "settings/WallSettings.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>

namespace kestrel {

namespace {

// A label that names its choice for screen readers and leads the keyboard to it (Alt+letter).
QComboBox *namedChoice(const QString &label, QHBoxLayout *row, QWidget *parent)
{
    auto *name = new QLabel(label, parent);
    auto *choice = new QComboBox(parent);
    name->setBuddy(choice);
    choice->setAccessibleName(QString(label).remove(u'&'));
    row->addWidget(name);
    row->addWidget(choice);
    return choice;
}

} // namespace

WallBar::WallBar(WallSettings &settings, QWidget *parent) : QWidget(parent)
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);

    QComboBox *order = namedChoice(tr("&Sortierung"), row, this);
    order->addItem(tr("Druckerliste"), QVariant::fromValue(int(WallOrder::printers)));
    order->addItem(tr("Restzeit"), QVariant::fromValue(int(WallOrder::timeLeft)));
    order->addItem(tr("Zustand"), QVariant::fromValue(int(WallOrder::state)));
    order->setCurrentIndex(order->findData(int(settings.order())));
    connect(order, &QComboBox::activated, &settings,
            [&settings, order] { settings.setOrder(WallOrder(order->currentData().toInt())); });

    row->addSpacing(16);
    auto *hide = new QCheckBox(tr("&Offline ausblenden"), this);
    hide->setChecked(settings.hidesOffline());
    connect(hide, &QCheckBox::toggled, &settings, &WallSettings::setHidesOffline);
    row->addWidget(hide);

    row->addStretch(1);
    QComboBox *rate = namedChoice(tr("&Bilder pro Sekunde"), row, this);
    for (const double offered : WallSettings::offeredRates)
        rate->addItem(QLocale(QLocale::German).toString(offered), offered);
    rate->setCurrentIndex(rate->findData(settings.picturesPerSecond()));
    connect(rate, &QComboBox::activated, &settings,
            [&settings, rate] { settings.setPicturesPerSecond(rate->currentData().toDouble()); });
}

} // namespace kestrel
