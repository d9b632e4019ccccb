// SPDX-License-Identifier: MIT
#include "platform/theme.h"

#include <QDirIterator>
#include <QIcon>
#include <QRegularExpression>
#include <QSet>
#include <QtTest>

// Every icon name that appears in the sources loads, and the style sheet is
// complete in every variant.
class TestTheme : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void iconLoads_data();
    void iconLoads();
    void styleSheetIsFilled_data();
    void styleSheetIsFilled();
};

void TestTheme::iconLoads_data()
{
    QTest::addColumn<QString>("name");
    QSet<QString> names = {
        ":/Theme/Image/Fixed/addToBelow.kvsvg", ":/Theme/Image/Fixed/search.kvsvg",
    };
    for (const char *mutableIcon : {"addFriend", "contactCustomerService", "close", "file", "imageFile", "maximize",
                                    "minimize", "normal", "chat", "delete", "imageFailed",
                                    "userDefaultHeadPortrait"}) {
        names << QStringLiteral(":/Theme/Image/Mutable/%1.kvsvg").arg(QLatin1String(mutableIcon));
        names << QStringLiteral("themeIcons:%1.kvsvg").arg(QLatin1String(mutableIcon));
    }

    const QRegularExpression literal(QStringLiteral(R"((:/Theme/[A-Za-z0-9_/-]+|themeIcons:[A-Za-z0-9_/-]+)\.(kvsvg|svg|png|jpg|gif|ico)\b)"));
    QDirIterator files(QStringLiteral(KVMESS_SOURCE_DIR "/src"), {"*.cpp", "*.h", "*.ui"}, QDir::Files,
                       QDirIterator::Subdirectories);
    int scanned = 0;
    while (files.hasNext()) {
        QFile file(files.next());
        QVERIFY(file.open(QIODevice::ReadOnly));
        ++scanned;
        auto matches = literal.globalMatch(QString::fromUtf8(file.readAll()));
        while (matches.hasNext())
            names << matches.next().captured(0);
    }
    QVERIFY(scanned > 10);
    for (const QString &name : qAsConst(names))
        QTest::newRow(qPrintable(name)) << name;
}

void TestTheme::iconLoads()
{
    QFETCH(QString, name);
    QVERIFY(!QPixmap(name).isNull());
    const QIcon icon(name);
    QVERIFY(!icon.isNull());
    const QImage image = icon.pixmap(34, 34).toImage().convertToFormat(QImage::Format_ARGB32);
    QCOMPARE(image.size(), QSize(34, 34));
    int drawn = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            drawn += qAlpha(image.pixel(x, y)) > 0;
    QVERIFY2(drawn > 10, "the icon renders blank");
}

void TestTheme::styleSheetIsFilled_data()
{
    QTest::addColumn<int>("variant");
    QTest::newRow("light") << int(KvTheme::Light);
    QTest::newRow("dark") << int(KvTheme::Dark);
}

void TestTheme::styleSheetIsFilled()
{
    QFETCH(int, variant);
    const QString sheet = KvTheme::styleSheet(KvTheme::Variant(variant));
    QVERIFY(sheet.contains(QLatin1String("msgCntLabel")));
    const QRegularExpressionMatch left = QRegularExpression(QStringLiteral("@[A-Za-z]+@")).match(sheet);
    QVERIFY2(!left.hasMatch(), qPrintable(left.captured(0)));
    KvTheme::apply(KvTheme::Variant(variant));
    QCOMPARE(qApp->styleSheet(), sheet);
    QCOMPARE(int(KvTheme::variant()), variant);
    KvTheme::apply(KvTheme::Light);
}

QTEST_MAIN(TestTheme)
#include "tst_theme.moc"
