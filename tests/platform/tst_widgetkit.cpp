// SPDX-License-Identifier: MIT
#include "platform/framelessdialog.h"
#include "platform/iconbutton.h"
#include "platform/inputdialog.h"
#include "platform/messagebox.h"
#include "platform/picshowwindow.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <QtTest>

namespace {

QPushButton *buttonWithText(QWidget *window, const QString &text)
{
    const auto buttons = window->findChildren<QPushButton *>();
    for (QPushButton *button : buttons) {
        if (button->text() == text && button->isVisible())
            return button;
    }
    return nullptr;
}

QImage solid(const QColor &color)
{
    QImage image(20, 20, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    return image;
}

} // namespace

class TestWidgetKit : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void iconButtonShowsAndReadsBack_data();
    void iconButtonShowsAndReadsBack();
    void inputDialogCheckFunction();
    void titleDoubleClickTogglesMaximized_data();
    void titleDoubleClickTogglesMaximized();
    void titleDragMovesWindow();
    void messageBoxShowsText();
    void pictureViewerZoomsAroundCursor();
};

void TestWidgetKit::iconButtonShowsAndReadsBack_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("round") << int(KvIconButton::Round);
    QTest::newRow("rounded square") << int(KvIconButton::RoundedRect);
    QTest::newRow("normal") << int(KvIconButton::Normal);
}

void TestWidgetKit::iconButtonShowsAndReadsBack()
{
    QFETCH(int, type);
    const QString iconPath = QStringLiteral("themeIcons:userDefaultHeadPortrait.kvsvg");
    KvIconButton button;
    button.setFlat(true);
    button.setFixedSize(50, 50);
    button.setType(type);
    button.setRadiusSize(5);
    button.setDefaultIcon(iconPath);
    button.setIconSize(QSize(34, 34));
    button.show();
    QVERIFY(QTest::qWaitForWindowExposed(&button));

    auto shown = [&button] { return button.buttonPixmap().toImage().convertToFormat(QImage::Format_ARGB32); };
    auto centre = [&button] { return button.grab().toImage().pixelColor(25, 25); };

    QVERIFY(!button.buttonPixmap().isNull());
    QCOMPARE(button.buttonPixmap().size(), QSize(34, 34));
    const QImage defaultImage = shown();
    const QColor defaultCentre = centre();
    QVERIFY(defaultCentre != QColor(Qt::red));

    const QPixmap red = QPixmap::fromImage(solid(Qt::red));
    button.setButtonIcon(red);
    QCOMPARE(shown(), red.toImage().convertToFormat(QImage::Format_ARGB32));
    QCOMPARE(centre(), QColor(Qt::red));

    button.clear();
    QCOMPARE(shown(), defaultImage);
    QCOMPARE(centre(), defaultCentre);

    // A file path that can't be read leaves the default icon.
    button.setButtonIcon(QStringLiteral("/nonexistent/head.png"));
    QCOMPARE(centre(), defaultCentre);

    // Stored bytes show as the picture they encode; bytes that aren't one, as the default.
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    solid(Qt::blue).save(&buffer, "png");
    button.setButtonIconData(png);
    QCOMPARE(centre(), QColor(Qt::blue));
    QVERIFY(button.hasButtonIcon());
    button.setButtonIconData("not a picture");
    QCOMPARE(centre(), defaultCentre);
    QVERIFY(!button.hasButtonIcon());
}

void TestWidgetKit::inputDialogCheckFunction()
{
    KvInputDialog dialog;
    dialog.setTitle(QStringLiteral("添加好友"));
    dialog.setLabelText(QStringLiteral("好友手机号："));
    QStringList checked;
    QWidget *checkParent = nullptr;
    dialog.setCheckFunc([&](const QString &text, QWidget *parent) {
        checked << text;
        checkParent = parent;
        return !text.isEmpty();
    });
    dialog.open();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("添加好友"));

    QPushButton *ok = buttonWithText(&dialog, QStringLiteral("确定"));
    QVERIFY(ok);
    QTest::mouseClick(ok, Qt::LeftButton);
    QCOMPARE(checked, QStringList{QString()});
    QCOMPARE(checkParent, &dialog);
    QVERIFY(dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Rejected));

    QTest::keyClicks(dialog.lineEdit(), QStringLiteral("13800000000"));
    QTest::keyClick(dialog.lineEdit(), Qt::Key_Return);
    QCOMPARE(checked.last(), QStringLiteral("13800000000"));
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(dialog.textValue(), QStringLiteral("13800000000"));

    // Cancel never asks the check function.
    dialog.open();
    QTest::mouseClick(buttonWithText(&dialog, QStringLiteral("取消")), Qt::LeftButton);
    QCOMPARE(checked.size(), 2);
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
}

void TestWidgetKit::titleDoubleClickTogglesMaximized_data()
{
    QTest::addColumn<bool>("customTitle");
    QTest::newRow("built-in title bar") << false;
    QTest::newRow("caller's title, on a label in it") << true;
}

void TestWidgetKit::titleDoubleClickTogglesMaximized()
{
    QFETCH(bool, customTitle);
    KvFramelessDialog dialog(nullptr, true);
    dialog.setWindowTitle(QStringLiteral("会话"));
    dialog.setContentWidget(new QLabel(QStringLiteral("内容")));
    QWidget *target = dialog.titleBarWidget();
    if (customTitle) {
        auto *title = new QWidget;
        auto *layout = new QVBoxLayout(title);
        auto *label = new QLabel(QStringLiteral("标题"), title);
        layout->addWidget(label);
        auto *close = new QPushButton(title);
        layout->addWidget(close);
        dialog.setTitleBarWidget(title, nullptr, nullptr, close);
        QCOMPARE(dialog.titleBarWidget(), title);
        target = label;
    }
    dialog.resize(400, 300);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    QVERIFY(target->isVisible());
    QVERIFY(!dialog.isMaximized());

    QTest::mouseDClick(target, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
    QTRY_VERIFY(dialog.isMaximized());
    QTest::mouseDClick(target, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
    QTRY_VERIFY(!dialog.isMaximized());

    // A double-click on the content does nothing.
    QTest::mouseDClick(dialog.contentWidget(), Qt::LeftButton);
    QVERIFY(!dialog.isMaximized());
}

void TestWidgetKit::titleDragMovesWindow()
{
    KvFramelessDialog dialog;
    dialog.setWindowTitle(QStringLiteral("会话"));
    dialog.setContentWidget(new QLabel(QStringLiteral("内容")));
    dialog.setGeometry(100, 100, 400, 300);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    const QPoint start = dialog.pos();
    QWidget *title = dialog.titleBarWidget();
    QTest::mousePress(title, Qt::LeftButton, Qt::NoModifier, QPoint(40, 10));
    // QTest::mouseMove only moves the cursor; send the move a person makes.
    QMouseEvent move(QEvent::MouseMove, QPointF(90, 40), title->mapToGlobal(QPoint(90, 40)), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(title, &move);
    QTest::mouseRelease(title, Qt::LeftButton, Qt::NoModifier, QPoint(90, 40));
    QTRY_COMPARE(dialog.pos(), start + QPoint(50, 30));
}

void TestWidgetKit::messageBoxShowsText()
{
    QString shownText;
    QString shownTitle;
    QTimer::singleShot(0, this, [&] {
        QWidget *box = QApplication::activeModalWidget();
        QVERIFY(box);
        shownTitle = box->windowTitle();
        const auto labels = box->findChildren<QLabel *>();
        for (QLabel *label : labels) {
            if (!label->text().isEmpty() && label->isVisible() && label->text() != shownTitle)
                shownText = label->text();
        }
        QTest::mouseClick(buttonWithText(box, QStringLiteral("确定")), Qt::LeftButton);
    });
    int doneWith = -1;
    const int result = KvMessageBox::show(nullptr, QStringLiteral("修改成功"), [&](int button) { doneWith = button; });
    QCOMPARE(result, int(QMessageBox::Ok));
    QCOMPARE(doneWith, int(QMessageBox::Ok));
    QCOMPARE(shownTitle, QStringLiteral("提示"));
    QCOMPARE(shownText, QStringLiteral("修改成功"));
}

void TestWidgetKit::pictureViewerZoomsAroundCursor()
{
    QImage image(2000, 1000, QImage::Format_RGB32);
    image.fill(Qt::darkGreen);
    KvPicShowWindow viewer;
    viewer.resize(1040, 580);
    viewer.setPixmap(QPixmap::fromImage(image));
    viewer.show();
    QVERIFY(QTest::qWaitForWindowExposed(&viewer));
    // Fitted: the whole picture is inside the window.
    QVERIFY(viewer.scale() < 1.0);
    QVERIFY(2000 * viewer.scale() <= viewer.width() && 1000 * viewer.scale() <= viewer.height());

    const QPointF cursor(300, 200);
    const QPointF pictureUnderCursor = (cursor - viewer.offset()) / viewer.scale();
    const double fitted = viewer.scale();
    QWheelEvent wheel(cursor, viewer.mapToGlobal(cursor.toPoint()), QPoint(), QPoint(0, 120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&viewer, &wheel);
    QVERIFY(viewer.scale() > fitted);
    const QPointF after = (cursor - viewer.offset()) / viewer.scale();
    QVERIFY(qAbs(after.x() - pictureUnderCursor.x()) < 0.5 && qAbs(after.y() - pictureUnderCursor.y()) < 0.5);

    viewer.fitToWindow();
    QCOMPARE(viewer.scale(), fitted);
    QTest::keyClick(&viewer, Qt::Key_Escape);
    QVERIFY(!viewer.isVisible());
}

QTEST_MAIN(TestWidgetKit)
#include "tst_widgetkit.moc"
