#include "theme.h"

#include <QHash>

namespace {

// Read and written on the GUI thread only, like every widget that asks.
QHash<int, QColor> &overrides()
{
    static QHash<int, QColor> colors;
    return colors;
}

} // namespace

QColor KvTheme::color(int role)
{
    const auto found = overrides().constFind(role);
    if (found != overrides().constEnd())
        return found.value();
    switch (role) {
    case ChatInputText:
        return QColor(0x33, 0x33, 0x33);
    case IncomingBubble:
        return QColor(0xF2, 0xF3, 0xF5);
    case OutgoingBubble:
        return QColor(0xC9, 0xE4, 0xFF);
    default:
        return QColor(0x33, 0x33, 0x33);
    }
}

void KvTheme::setColor(int role, const QColor &color)
{
    overrides().insert(role, color);
}
