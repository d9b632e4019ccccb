// SPDX-License-Identifier: MIT
#include "boxcontent_p.h"

#include "iconbutton.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

QVBoxLayout *kvBoxContent(QWidget *content, const QString &iconPath, const QString &text, int minTextWidth)
{
    auto *layout = new QVBoxLayout(content);
    layout->setContentsMargins(20, 18, 20, 14);
    layout->setSpacing(16);

    auto *row = new QHBoxLayout;
    row->setSpacing(12);
    if (!iconPath.isEmpty()) {
        auto *iconLabel = new QLabel(content);
        iconLabel->setObjectName(QStringLiteral("labelIcon"));
        const qreal dpr = content->devicePixelRatioF();
        QPixmap pixmap = KvIconButton::cachedPixmap(iconPath, QSize(32, 32) * dpr);
        pixmap.setDevicePixelRatio(dpr);
        iconLabel->setPixmap(pixmap);
        iconLabel->setFixedSize(32, 32);
        row->addWidget(iconLabel, 0, Qt::AlignTop);
    }
    // Texts name users and files that others chose.
    auto *textLabel = new QLabel(content);
    textLabel->setObjectName(QStringLiteral("labelText"));
    textLabel->setTextFormat(Qt::PlainText);
    textLabel->setText(text);
    textLabel->setWordWrap(true);
    textLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    const int natural = textLabel->fontMetrics().boundingRect(QRect(0, 0, 420, 10000), Qt::TextWordWrap, text).width();
    textLabel->setMinimumWidth(qBound(minTextWidth, natural + 4, 420));
    textLabel->setMaximumWidth(420);
    textLabel->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    row->addWidget(textLabel, 1);
    layout->addLayout(row);
    return layout;
}
