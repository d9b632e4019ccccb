// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QColor>
#include <QString>

// The module's look: colours, the one style sheet and the icons under
// ":/Theme/Image/..." (also reachable as "themeIcons:<name>"). Used on the GUI
// thread only.
class KVPLATFORM_EXPORT KvTheme
{
public:
    enum ColorRole {
        ChatInputText = 7,
        IncomingBubble = 26,
        OutgoingBubble = 27,
        // Roles of the module's own widgets; numbered apart from the host's.
        WindowBackground = 100,
        WindowBorder,
        WindowShadow,
        Text,
        TextFaded,
        Accent,
        PictureBackdrop,
        PictureText,
    };
    enum Variant { Light, Dark };

    // The host's colour when it set one, otherwise the current variant's default.
    static QColor color(int role);
    static void setColor(int role, const QColor &color);

    // The style sheet of the variant, with its colours filled in.
    static QString styleSheet(Variant variant = Light);
    // The host's one call: sets the application style sheet (and the colours) of the variant.
    static void apply(Variant variant = Light);
    static Variant variant();
};
