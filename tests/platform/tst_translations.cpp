// SPDX-License-Identifier: MIT
#include "translations.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <QtTest>

// The English translation covers every text of the sources, and loading it
// changes what tr() answers.
class TestTranslations : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everyTextIsTranslated();
    void noTextIsMissingFromTheFile();
    void loadingSwitchesLanguage_data();
    void loadingSwitchesLanguage();

private:
    static QSet<QString> sourcesOf(const QString &tsPath);
};

static const QString tsPath = QStringLiteral(KVMESS_SOURCE_DIR "/translations/kvmess_en.ts");

namespace {

struct Message
{
    QString context;
    QString source;
    QString translation;
    QString type;
};

QList<Message> readTs(const QString &path)
{
    QList<Message> messages;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return messages;
    QXmlStreamReader xml(&file);
    QString context;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QLatin1String("name")) {
            context = xml.readElementText();
        } else if (xml.name() == QLatin1String("message")) {
            messages.append({context, {}, {}, {}});
        } else if (xml.name() == QLatin1String("source")) {
            messages.last().source = xml.readElementText();
        } else if (xml.name() == QLatin1String("translation")) {
            messages.last().type = xml.attributes().value(QLatin1String("type")).toString();
            messages.last().translation = xml.readElementText();
        }
    }
    return messages;
}

} // namespace

QSet<QString> TestTranslations::sourcesOf(const QString &path)
{
    QSet<QString> keys;
    for (const Message &message : readTs(path))
        keys << message.context + QLatin1Char('|') + message.source;
    return keys;
}

void TestTranslations::everyTextIsTranslated()
{
    const QList<Message> messages = readTs(tsPath);
    QVERIFY(messages.size() > 100);
    const QRegularExpression placeholder(QStringLiteral("%\\d"));
    for (const Message &message : messages) {
        QVERIFY2(message.type.isEmpty(), qPrintable(message.source + QStringLiteral(" is ") + message.type));
        QVERIFY2(!message.translation.trimmed().isEmpty(),
                 qPrintable(message.source + QStringLiteral(" has no English")));

        QStringList inSource, inTranslation;
        for (auto it = placeholder.globalMatch(message.source); it.hasNext();)
            inSource << it.next().captured();
        for (auto it = placeholder.globalMatch(message.translation); it.hasNext();)
            inTranslation << it.next().captured();
        inSource.sort();
        inTranslation.sort();
        QVERIFY2(inSource == inTranslation, qPrintable(message.source + QStringLiteral(" -> ") + message.translation));
    }
}

// Extracts the texts afresh and compares: a tr() added without refreshing the
// .ts file fails here.
void TestTranslations::noTextIsMissingFromTheFile()
{
    const QString lupdate = QStringLiteral(KVMESS_QT_BIN_DIR "/lupdate");
    if (!QFileInfo(lupdate).isExecutable())
        QSKIP("lupdate is not installed");
    QTemporaryDir dir;
    const QString fresh = dir.filePath(QStringLiteral("fresh.ts"));
    QProcess process;
    process.setWorkingDirectory(QStringLiteral(KVMESS_SOURCE_DIR));
    process.start(lupdate, {QStringLiteral("-silent"), QStringLiteral("-no-obsolete"), QStringLiteral("-locations"),
                            QStringLiteral("none"), QStringLiteral("src"), QStringLiteral("apps/desktop"),
                            QStringLiteral("-ts"), fresh});
    QVERIFY(process.waitForFinished(120000));
    QCOMPARE(process.exitCode(), 0);

    const QSet<QString> extracted = sourcesOf(fresh);
    QVERIFY(!extracted.isEmpty());
    const QSet<QString> missing = extracted - sourcesOf(tsPath);
    QVERIFY2(missing.isEmpty(), qPrintable(QStringList(missing.values()).join(QStringLiteral(", "))));
}

void TestTranslations::loadingSwitchesLanguage_data()
{
    QTest::addColumn<QString>("context");
    QTest::addColumn<QString>("chinese");
    QTest::addColumn<QString>("english");
    QTest::newRow("tab") << "KvUserCommWidget" << "通知" << "Notices";
    QTest::newRow("same text, other context") << "KvNoticeShowDialog" << "消息" << "Message";
    QTest::newRow("platform widget") << "KvMessageBox" << "确定" << "OK";
    QTest::newRow("placeholder") << "KvNewFriendRequestWidget" << "用户 %1 向你发送了好友请求"
                                 << "User %1 sent you a friend request";
    QTest::newRow("form") << "KvChatWidget" << "发送" << "Send";
}

void TestTranslations::loadingSwitchesLanguage()
{
    QFETCH(QString, context);
    QFETCH(QString, chinese);
    QFETCH(QString, english);
    const auto translate = [&] {
        return QCoreApplication::translate(context.toUtf8().constData(), chinese.toUtf8().constData());
    };

    QVERIFY(!kvmessLoadTranslation(QLocale(QLocale::Chinese, QLocale::China)));
    QCOMPARE(translate(), chinese);
    QVERIFY(kvmessLoadTranslation(QLocale(QLocale::English, QLocale::UnitedStates)));
    QCOMPARE(translate(), english);
    QVERIFY(kvmessLoadTranslation(QLocale(QLocale::German)));
    QCOMPARE(translate(), english);
    QVERIFY(!kvmessLoadTranslation(QLocale(QLocale::Chinese, QLocale::Taiwan)));
    QCOMPARE(translate(), chinese);
    QVERIFY(kvmessLoadTranslation(QLocale(QLocale::English)));
    QVERIFY(!kvmessLoadTranslation(QLocale::c()));
    QCOMPARE(translate(), chinese);
}

QTEST_MAIN(TestTranslations)
#include "tst_translations.moc"
