#include "theme.h"

#include "mc.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QRegularExpression>

namespace {

// Read and written on the GUI thread only, like every widget that asks.
QHash<int, QColor> &overrides()
{
    static QHash<int, QColor> colors;
    return colors;
}

const QHash<QString, QString> &palette(KvTheme::Variant variant)
{
    static const QHash<QString, QString> light = {
        {"text", "#1F2329"}, {"soft", "#4E5666"}, {"muted", "#8F959E"}, {"base", "#FFFFFF"},
        {"panel", "#F5F6F8"}, {"hover", "#EEF0F3"}, {"line", "#E8EAED"}, {"border", "#D4D7DD"},
        {"accent", "#2F6FDE"}, {"accentHover", "#255BBB"}, {"accentSoft", "#E6EEFC"}, {"danger", "#E5484D"},
        {"scroll", "#CDD1D8"},
    };
    static const QHash<QString, QString> dark = {
        {"text", "#E4E6EB"}, {"soft", "#B5BAC4"}, {"muted", "#7D8490"}, {"base", "#1F2125"},
        {"panel", "#26292E"}, {"hover", "#30343A"}, {"line", "#33373D"}, {"border", "#454A52"},
        {"accent", "#5B8DEF"}, {"accentHover", "#7AA3F2"}, {"accentSoft", "#2C3A55"}, {"danger", "#E5484D"},
        {"scroll", "#4A4F57"},
    };
    return variant == KvTheme::Dark ? dark : light;
}

// "themeIcons:<name>" finds the theme's icons, from the library's load on.
[[maybe_unused]] const bool iconPathRegistered = [] {
    Mc::addPreRoutine(0, [] { QDir::addSearchPath(QStringLiteral("themeIcons"), QStringLiteral(":/Theme/Image/Mutable")); });
    return true;
}();

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

QString KvTheme::styleSheet(Variant variant)
{
    QFile file(QStringLiteral(":/Theme/kvmess.qss"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QString sheet = QString::fromUtf8(file.readAll());
    const QHash<QString, QString> &colors = palette(variant);
    // Longest names first, so that "@accentSoft" is not read as "@accent" + "Soft".
    QStringList names = colors.keys();
    std::sort(names.begin(), names.end(), [](const QString &a, const QString &b) { return a.size() > b.size(); });
    for (const QString &name : qAsConst(names))
        sheet.replace(QLatin1Char('@') + name, colors.value(name));
    return sheet;
}

void KvTheme::apply(Variant variant)
{
    if (variant == Dark) {
        setColor(ChatInputText, QColor(0xE4, 0xE6, 0xEB));
        setColor(IncomingBubble, QColor(0x30, 0x34, 0x3A));
        setColor(OutgoingBubble, QColor(0x2C, 0x4A, 0x7C));
    } else {
        overrides().remove(ChatInputText);
        overrides().remove(IncomingBubble);
        overrides().remove(OutgoingBubble);
    }
    qApp->setStyleSheet(styleSheet(variant));
}
