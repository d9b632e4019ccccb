#include "chat/droptextedit.h"

#include <QMimeData>
#include <QTemporaryDir>
#include <QtTest>

class TestChatWidget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void insertedFilesReadBack_data();
    void insertedFilesReadBack();
    void textLeavesPicturesOut();
    void dropOfFileUrlsInsertsThem();
};

void TestChatWidget::insertedFilesReadBack_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("captured");
    QTest::newRow("plain") << "/tmp/report.pdf" << "/tmp/report.pdf";
    QTest::newRow("ampersand stays escaped") << "/tmp/a&b.txt" << "/tmp/a&amp;b.txt";
    QTest::newRow("chinese") << QStringLiteral("/tmp/报告/地图.png") << QStringLiteral("/tmp/报告/地图.png");
    QTest::newRow("no suffix") << "/tmp/README" << "/tmp/README";
}

void TestChatWidget::insertedFilesReadBack()
{
    QFETCH(QString, path);
    KvDropTextEdit input;
    input.insertFile(path);
    QFETCH(QString, captured);
    QCOMPARE(input.getFiles(), QStringList{captured});
    QVERIFY(input.toHtml().contains("data:image/png;base64,"));
    QCOMPARE(input.getText(), QString());
}

void TestChatWidget::textLeavesPicturesOut()
{
    KvDropTextEdit input;
    input.insertPlainText("  a");
    input.insertFile("/tmp/one.png");
    input.insertPlainText("b");
    input.insertFile("/tmp/two.txt");
    input.insertPlainText("\n  ");
    QCOMPARE(input.getText(), "a b");
    QCOMPARE(input.getFiles(), (QStringList{"/tmp/one.png", "/tmp/two.txt"}));
}

void TestChatWidget::dropOfFileUrlsInsertsThem()
{
    KvDropTextEdit input;
    input.show();
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile("/tmp/first.doc"), QUrl::fromLocalFile(QStringLiteral("/tmp/第二.png"))});
    const QPoint at = input.viewport()->rect().center();
    QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(input.viewport(), &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent drop(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(input.viewport(), &drop);
    QVERIFY(drop.isAccepted());
    QCOMPARE(input.getFiles(), (QStringList{"/tmp/first.doc", QStringLiteral("/tmp/第二.png")}));

    // Plain text is no file and is not dropped in.
    QMimeData text;
    text.setText("words");
    QDropEvent textDrop(at, Qt::CopyAction, &text, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(input.viewport(), &textDrop);
    QVERIFY(!input.toPlainText().contains("words"));
}

QTEST_MAIN(TestChatWidget)
#include "tst_chatwidget.moc"
