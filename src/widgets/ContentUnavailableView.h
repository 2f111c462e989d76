// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class QLabel;

namespace kestrel {

// The placeholder for content that cannot be shown: a large symbol over a title, centred.
class ContentUnavailableView : public QWidget
{
    Q_OBJECT

public:
    ContentUnavailableView(const QString &title, const QString &symbol, const QColor &color,
                           QWidget *parent = nullptr);

    QString title() const;

private:
    QLabel *m_title;
};

} // namespace kestrel
