// SPDX-License-Identifier: MIT
#include "theme.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QPalette>
#include <QRegularExpression>

namespace {

// Read and written on the GUI thread only, like every widget that asks.
QHash<int, QColor> &overrides()
{
    static QHash<int, QColor> colors;
    return colors;
}

KvTheme::Variant &currentVariant()
{
    static KvTheme::Variant variant = KvTheme::Light;
    return variant;
}

// The colours the style sheet's "@name@" tokens stand for.
const QHash<QString, QString> &palette(KvTheme::Variant variant)
{
    static const QHash<QString, QString> light = {
        {"window", "#FFFFFF"},     {"panel", "#F5F6F8"},      {"panelAlt", "#EDEFF2"},
        {"border", "#D5D9DF"},     {"borderDark", "#A9B0BA"}, {"text", "#2B2F36"},
        {"textSoft", "#5B6573"},   {"textFaded", "#9AA1AB"},  {"accent", "#2F7CE0"},
        {"accentHover", "#4A90E2"}, {"accentPressed", "#2468C0"}, {"accentText", "#FFFFFF"},
        {"hover", "#E9EEF5"},      {"pressed", "#DCE3EC"},    {"selected", "#DCE8F7"},
        {"input", "#FFFFFF"},      {"inputText", "#333333"},  {"dark", "#3A4250"},
        {"darkHover", "#4A5364"},  {"darkPressed", "#2C333E"}, {"lightDark", "#E4E7EB"},
        {"badge", "#F04134"},      {"badgeText", "#FFFFFF"},  {"scroll", "#C3C8CF"},
        {"scrollHover", "#A3AAB4"}, {"tooltip", "#FFFFFF"},   {"menu", "#FFFFFF"},
    };
    static const QHash<QString, QString> dark = {
        {"window", "#262A31"},     {"panel", "#2C3139"},      {"panelAlt", "#333942"},
        {"border", "#424953"},     {"borderDark", "#6B7480"}, {"text", "#E3E6EA"},
        {"textSoft", "#B4BBC5"},   {"textFaded", "#7C8490"},  {"accent", "#4A90E2"},
        {"accentHover", "#5FA0EA"}, {"accentPressed", "#3A7BC8"}, {"accentText", "#FFFFFF"},
        {"hover", "#353C46"},      {"pressed", "#3E4651"},    {"selected", "#34475F"},
        {"input", "#1F2328"},      {"inputText", "#E3E6EA"},  {"dark", "#5A6475"},
        {"darkHover", "#687385"},  {"darkPressed", "#4A5364"}, {"lightDark", "#3A414B"},
        {"badge", "#E5483B"},      {"badgeText", "#FFFFFF"},  {"scroll", "#4F5762"},
        {"scrollHover", "#66707C"}, {"tooltip", "#333942"},   {"menu", "#2C3139"},
    };
    return variant == KvTheme::Dark ? dark : light;
}

QColor defaultColor(KvTheme::Variant variant, int role)
{
    const bool dark = variant == KvTheme::Dark;
    switch (role) {
    case KvTheme::ChatInputText:
        return dark ? QColor(0xE3, 0xE6, 0xEA) : QColor(0x33, 0x33, 0x33);
    case KvTheme::IncomingBubble:
        return dark ? QColor(0x38, 0x3E, 0x47) : QColor(0xF2, 0xF3, 0xF5);
    case KvTheme::OutgoingBubble:
        return dark ? QColor(0x2E, 0x4E, 0x73) : QColor(0xC9, 0xE4, 0xFF);
    case KvTheme::WindowBackground:
        return QColor(palette(variant).value("window"));
    case KvTheme::WindowBorder:
        return QColor(palette(variant).value("border"));
    case KvTheme::WindowShadow:
        return dark ? QColor(0, 0, 0) : QColor(0x1A, 0x22, 0x30);
    case KvTheme::TextFaded:
        return QColor(palette(variant).value("textFaded"));
    case KvTheme::Accent:
        return QColor(palette(variant).value("accent"));
    case KvTheme::PictureBackdrop:
        return QColor(0x14, 0x16, 0x1A, 0xF0);
    case KvTheme::PictureText:
        return QColor(0xE3, 0xE6, 0xEA);
    case KvTheme::Text:
    default:
        return QColor(palette(variant).value("text"));
    }
}

void registerSearchPath()
{
    QDir::addSearchPath(QStringLiteral("themeIcons"), QStringLiteral(":/Theme/Image/Mutable"));
}

// Registered when the library is loaded, before any window asks for an icon.
struct SearchPathRegistration
{
    SearchPathRegistration() { registerSearchPath(); }
} searchPathRegistration;

} // namespace

QColor KvTheme::color(int role)
{
    const auto found = overrides().constFind(role);
    if (found != overrides().constEnd())
        return found.value();
    return defaultColor(currentVariant(), role);
}

void KvTheme::setColor(int role, const QColor &color)
{
    overrides().insert(role, color);
}

KvTheme::Variant KvTheme::variant()
{
    return currentVariant();
}

QString KvTheme::styleSheet(Variant variant)
{
    QFile file(QStringLiteral(":/Theme/Style/kvmess.qss"));
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    QString sheet = QString::fromUtf8(file.readAll());
    const QHash<QString, QString> &colors = palette(variant);
    static const QRegularExpression token(QStringLiteral("@([A-Za-z]+)@"));
    QString filled;
    filled.reserve(sheet.size());
    int last = 0;
    auto match = token.globalMatch(sheet);
    while (match.hasNext()) {
        const QRegularExpressionMatch m = match.next();
        filled += sheet.midRef(last, m.capturedStart() - last);
        filled += colors.value(m.captured(1), m.captured(0));
        last = m.capturedEnd();
    }
    filled += sheet.midRef(last);
    return filled;
}

void KvTheme::apply(Variant variant)
{
    currentVariant() = variant;
    auto *app = qobject_cast<QApplication *>(QCoreApplication::instance());
    if (!app)
        return;
    // Base text colours come from the palette, not the style sheet: a style
    // sheet colour on an input would also paint its placeholder text at full
    // strength.
    const QHash<QString, QString> &colors = ::palette(variant);
    auto c = [&colors](const char *name) { return QColor(colors.value(QLatin1String(name))); };
    QPalette palette = QApplication::palette();
    palette.setColor(QPalette::Window, c("window"));
    palette.setColor(QPalette::WindowText, c("text"));
    palette.setColor(QPalette::Base, c("input"));
    palette.setColor(QPalette::AlternateBase, c("panel"));
    palette.setColor(QPalette::Text, c("inputText"));
    palette.setColor(QPalette::Button, c("window"));
    palette.setColor(QPalette::ButtonText, c("text"));
    palette.setColor(QPalette::ToolTipBase, c("tooltip"));
    palette.setColor(QPalette::ToolTipText, c("text"));
    palette.setColor(QPalette::Highlight, c("accent"));
    palette.setColor(QPalette::HighlightedText, c("accentText"));
    palette.setColor(QPalette::PlaceholderText, c("textFaded"));
    palette.setColor(QPalette::Link, c("accent"));
    for (QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, c("textFaded"));
    QApplication::setPalette(palette);
    app->setStyleSheet(styleSheet(variant));
}
