#pragma once

#include "kvplatform_export.h"

#include <QColor>
#include <QString>

// The theme of the module's windows: colours that widgets ask for by number,
// the icons under ":/Theme/Image/" (also found as "themeIcons:<name>"), and
// one style sheet keyed on object names and dynamic properties. The host
// applies a variant with one call; unset colours keep the light defaults.
// GUI thread.
class KVPLATFORM_EXPORT KvTheme
{
public:
    enum ColorRole {
        ChatInputText = 7,
        IncomingBubble = 26,
        OutgoingBubble = 27,
    };
    enum Variant { Light, Dark };

    static QColor color(int role);
    static void setColor(int role, const QColor &color);
    // The style sheet of a variant, with its colours filled in.
    static QString styleSheet(Variant variant = Light);
    // Sets the application's style sheet and the bubble and input colours.
    static void apply(Variant variant = Light);
};
