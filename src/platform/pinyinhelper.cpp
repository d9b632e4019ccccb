// SPDX-License-Identifier: MIT
#include "pinyinhelper.h"

#include <QCollator>
#include <QLocale>
#include <QTextCodec>

#include <iterator>

namespace {

// The common characters of GB2312 (rows 16 to 55) are ordered by pinyin; each
// entry is the first code of an initial. I, U and V begin no syllable.
struct Gb2312Boundary
{
    quint16 code;
    char initial;
};

constexpr Gb2312Boundary gbBoundaries[] = {
    {0xB0A1, 'A'}, {0xB0C5, 'B'}, {0xB2C1, 'C'}, {0xB4EE, 'D'}, {0xB6EA, 'E'}, {0xB7A2, 'F'},
    {0xB8C1, 'G'}, {0xB9FE, 'H'}, {0xBBF7, 'J'}, {0xBFA6, 'K'}, {0xC0AC, 'L'}, {0xC2E8, 'M'},
    {0xC4C3, 'N'}, {0xC5B6, 'O'}, {0xC5BE, 'P'}, {0xC6DA, 'Q'}, {0xC8BB, 'R'}, {0xC8F6, 'S'},
    {0xCBFA, 'T'}, {0xCDDA, 'W'}, {0xCEF4, 'X'}, {0xD1B9, 'Y'}, {0xD4D1, 'Z'},
};
constexpr quint16 gbLastCommon = 0xD7F9;

// For the rarer characters: under the pinyin collation each of these is the
// first character of its initial.
constexpr char16_t collationBoundaries[] = u"阿八嚓哒妸发旮哈讥咔垃妈拏噢妑七呥扨它穵夕丫帀";
constexpr char collationInitials[] = "ABCDEFGHJKLMNOPQRSTWXYZ";

bool isHan(uint code)
{
    return (code >= 0x4E00 && code <= 0x9FFF) || (code >= 0x3400 && code <= 0x4DBF)
        || (code >= 0x20000 && code <= 0x2EBEF) || (code >= 0xF900 && code <= 0xFAFF);
}

char initialFromGb2312(const QString &character)
{
    static QTextCodec *codec = QTextCodec::codecForName("GB2312");
    if (!codec)
        return 0;
    const QByteArray bytes = codec->fromUnicode(character);
    if (bytes.size() != 2)
        return 0;
    const quint16 code = quint16((uchar(bytes.at(0)) << 8) | uchar(bytes.at(1)));
    if (code < gbBoundaries[0].code || code > gbLastCommon)
        return 0;
    char initial = 0;
    for (const Gb2312Boundary &boundary : gbBoundaries) {
        if (code < boundary.code)
            break;
        initial = boundary.initial;
    }
    return initial;
}

char initialFromCollation(const QString &character)
{
    QCollator collator(QLocale(QLocale::Chinese, QLocale::China));
    const int count = int(std::size(collationInitials)) - 1;
    char initial = 0;
    for (int i = 0; i < count; ++i) {
        const QString boundary = QString(QChar(collationBoundaries[i]));
        if (collator.compare(character, boundary) < 0)
            break;
        initial = collationInitials[i];
    }
    return initial;
}

} // namespace

QString KvPinYinHelper::getChineseFirst(const QString &text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return QStringLiteral("#");
    const QChar first = trimmed.at(0);
    if (first.unicode() < 0x80 && first.isLetter())
        return QString(first.toUpper());

    uint code = first.unicode();
    QString character(first);
    if (first.isHighSurrogate() && trimmed.size() > 1 && trimmed.at(1).isLowSurrogate()) {
        code = QChar::surrogateToUcs4(first, trimmed.at(1));
        character = trimmed.left(2);
    }
    if (!isHan(code))
        return QStringLiteral("#");
    char initial = initialFromGb2312(character);
    if (!initial)
        initial = initialFromCollation(character);
    return initial ? QString(QLatin1Char(initial)) : QStringLiteral("#");
}
