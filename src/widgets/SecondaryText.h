// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "widgets/TextStyles.h"

#include <QString>

class QLabel;
class QWidget;

namespace kestrel {

// A plain, wrapping text in the dimmed secondary colour: the small grey lines under fields and
// states. Captions unless another style is asked for.
QLabel *secondaryText(const QString &text, QWidget *parent,
                      const QFont &font = textStyles::caption());

} // namespace kestrel
