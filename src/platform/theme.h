#pragma once

#include "kvplatform_export.h"

#include <QColor>

// Colours of the host's theme. The host may set any entry; unset entries keep
// defaults that are legible on a light background.
class KVPLATFORM_EXPORT KvTheme
{
public:
    enum ColorRole {
        ChatInputText = 7,
        IncomingBubble = 26,
        OutgoingBubble = 27,
    };

    static QColor color(int role);
    static void setColor(int role, const QColor &color);
};
