// SPDX-License-Identifier: MIT
// Renders the widget kit to PNG files offscreen, for looking at the theme:
//   QT_QPA_PLATFORM=offscreen kvmess-kitscreenshots <output folder>
#include "platform/confirmbox.h"
#include "platform/framelessdialog.h"
#include "platform/iconbutton.h"
#include "platform/inputdialog.h"
#include "platform/menu.h"
#include "platform/messagebox.h"
#include "platform/picshowwindow.h"
#include "platform/safety.h"
#include "platform/theme.h"

#include <QApplication>
#include <QDir>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QTextEdit>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

#include <cstdio>

namespace {

QString outputDir;

void save(const QImage &image, const QString &name)
{
    const QString path = QDir(outputDir).filePath(name);
    if (!image.save(path))
        std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
    else
        std::printf("%s\n", qPrintable(path));
}

// A window with its shadow, on a plain desk so the edge can be judged.
void saveOnDesk(QWidget *window, const QString &name)
{
    const QPixmap shot = window->grab();
    QImage desk(shot.size() + QSize(48, 48), QImage::Format_ARGB32_Premultiplied);
    desk.fill(QColor(0xE6, 0xE9, 0xED));
    QPainter painter(&desk);
    painter.drawPixmap(24, 24, shot);
    painter.end();
    save(desk, name);
}

QPushButton *pushButton(const QString &text, QWidget *parent, const char *property = nullptr)
{
    auto *button = new QPushButton(text, parent);
    if (property)
        button->setProperty(property, true);
    return button;
}

QWidget *samplerContent()
{
    auto *content = new QWidget;
    auto *layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 12);
    layout->setSpacing(10);

    // The panel's page row with its badges.
    auto *title = new QWidget(content);
    title->setObjectName("widgetTitle");
    title->setAttribute(Qt::WA_StyledBackground);
    auto *titleRow = new QHBoxLayout(title);
    titleRow->setContentsMargins(8, 0, 8, 0);
    const char *pages[][2] = {{"pushButtonNotice", "通知"}, {"pushButtonMessage", "消息"},
                              {"pushButtonFriend", "好友"}, {"pushButtonEnterprise", "团队"}};
    for (const auto &page : pages) {
        auto *button = new QPushButton(QString::fromUtf8(page[1]), title);
        button->setObjectName(page[0]);
        button->setCheckable(true);
        button->setFlat(true);
        button->setChecked(QByteArray(page[0]) == "pushButtonMessage");
        titleRow->addWidget(button);
        if (QByteArray(page[0]) == "pushButtonMessage" || QByteArray(page[0]) == "pushButtonNotice") {
            auto *badge = new QLabel(QByteArray(page[0]) == "pushButtonMessage" ? "12" : "3", title);
            badge->setObjectName("msgCntLabel");
            titleRow->addWidget(badge);
        }
    }
    titleRow->addStretch(1);
    layout->addWidget(title);

    auto *searchRow = new QHBoxLayout;
    searchRow->setContentsMargins(14, 0, 14, 0);
    auto *search = new QLineEdit(content);
    search->setPlaceholderText(QStringLiteral("请输入关键字检索"));
    searchRow->addWidget(search, 1);
    auto *searchButton = new QPushButton(content);
    searchButton->setIcon(QIcon(":/Theme/Image/Fixed/search.kvsvg"));
    searchButton->setProperty("kvButtonMinPadding", true);
    searchButton->setFixedSize(28, 28);
    searchRow->addWidget(searchButton);
    layout->addLayout(searchRow);

    auto *middle = new QHBoxLayout;
    middle->setContentsMargins(14, 0, 14, 0);
    middle->setSpacing(14);
    layout->addLayout(middle);

    auto *list = new QListWidget(content);
    list->setProperty("kvTabListWidget", true);
    list->setFocusPolicy(Qt::NoFocus);
    list->setFixedSize(200, 180);
    const QStringList names = {QStringLiteral("张伟"), QStringLiteral("王芳"), QStringLiteral("测绘项目组"),
                               QStringLiteral("客服")};
    for (const QString &name : names) {
        auto *item = new QListWidgetItem(list);
        auto *row = new QWidget;
        row->setProperty("kvListWidgetTab", true);
        auto *rowLayout = new QHBoxLayout(row);
        rowLayout->setContentsMargins(8, 4, 8, 4);
        auto *head = new KvIconButton(KvIconButton::Round, row);
        head->setFlat(true);
        head->setFixedSize(34, 34);
        head->setIconSize(QSize(30, 30));
        head->setDefaultIcon(name == QStringLiteral("客服") ? "themeIcons:chat.kvsvg"
                                                            : "themeIcons:userDefaultHeadPortrait.kvsvg");
        rowLayout->addWidget(head);
        auto *label = new QLabel(name, row);
        rowLayout->addWidget(label, 1);
        item->setSizeHint(QSize(100, 44));
        list->setItemWidget(item, row);
    }
    list->setCurrentRow(1);
    middle->addWidget(list);

    auto *right = new QVBoxLayout;
    right->setSpacing(10);
    middle->addLayout(right, 1);
    auto *unread = new QLabel(QStringLiteral("项目评审会议改到周五"), content);
    right->addWidget(unread);
    auto *read = new QLabel(QStringLiteral("数据已同步完成（已读）"), content);
    read->setProperty("read", true);
    right->addWidget(read);
    auto *answer = new QHBoxLayout;
    auto *agree = pushButton(QStringLiteral("同意"), content);
    agree->setProperty("kvStyle", QStringList{"bdc-dark", "bgc-lightdark", "bdr-2", "pd-none"});
    auto *refuse = pushButton(QStringLiteral("拒绝"), content);
    refuse->setProperty("kvStyle", QStringList{"bdc-dark", "bdr-2", "bgc-lightdark", "pd-none"});
    answer->addWidget(agree);
    answer->addWidget(refuse);
    answer->addStretch(1);
    right->addLayout(answer);
    auto *progress = new QProgressBar(content);
    progress->setValue(64);
    right->addWidget(progress);
    auto *fileButtons = new QHBoxLayout;
    for (const char *text : {"打开", "打开文件夹", "另存为"}) {
        auto *button = pushButton(QString::fromUtf8(text), content, "kvButtonMinPadding");
        button->setFlat(true);
        fileButtons->addWidget(button);
    }
    fileButtons->addStretch(1);
    right->addLayout(fileButtons);
    right->addStretch(1);

    auto *body = new QGridLayout;
    body->setContentsMargins(14, 0, 14, 0);
    layout->addLayout(body);

    auto *edit = new QTextEdit(content);
    edit->setPlainText(QStringLiteral("输入消息，按回车发送"));
    edit->setFixedHeight(60);
    body->addWidget(edit, 0, 0);

    auto *buttons = new QHBoxLayout;
    auto *image = new QPushButton(content);
    image->setIcon(QIcon(":/Theme/Image/Mutable/imageFile.kvsvg"));
    image->setIconSize(QSize(20, 20));
    image->setProperty("kvButtonMinPadding", true);
    auto *file = new QPushButton(content);
    file->setIcon(QIcon(":/Theme/Image/Mutable/file.kvsvg"));
    file->setIconSize(QSize(20, 20));
    file->setProperty("kvButtonMinPadding", true);
    buttons->addWidget(image);
    buttons->addWidget(file);
    buttons->addStretch(1);
    buttons->addWidget(pushButton(QStringLiteral("取消"), content));
    buttons->addWidget(pushButton(QStringLiteral("发送"), content, "kvButtonDark"));
    body->addLayout(buttons, 1, 0);
    return content;
}

void renderSampler(KvTheme::Variant variant, const QString &name)
{
    KvTheme::apply(variant);
    KvFramelessDialog dialog;
    dialog.setWindowTitle(QStringLiteral("消息"));
    dialog.setContentWidget(samplerContent());
    dialog.resize(520, 470);
    dialog.show();
    QApplication::processEvents();
    saveOnDesk(&dialog, name);
    KvTheme::apply(KvTheme::Light);
}

void renderInputDialog()
{
    KvInputDialog dialog;
    dialog.setTitle(QStringLiteral("添加好友"));
    dialog.setLabelText(QStringLiteral("好友手机号："));
    dialog.show();
    dialog.adjustSize();
    QApplication::processEvents();
    saveOnDesk(&dialog, "kit-input-dialog.png");
}

void renderMessageBox()
{
    QTimer::singleShot(0, [] {
        QWidget *box = QApplication::activeModalWidget();
        QApplication::processEvents();
        saveOnDesk(box, "kit-message-box.png");
        box->close();
    });
    KvMessageBox::show(nullptr, QStringLiteral("删除好友【zhangwei】失败。"), nullptr);
}

// The boxes of the safety switch: a link that was not opened, a received
// program, a friend's removal.
void renderSafetyBoxes()
{
    KvSafety::setEnabled(true);
    const auto grabNext = [](const char *name) {
        QTimer::singleShot(0, [name] {
            QWidget *box = QApplication::activeModalWidget();
            QApplication::processEvents();
            saveOnDesk(box, QString::fromLatin1(name));
            box->close();
        });
    };
    grabNext("safety-link-not-opened.png");
    KvSafety::openLink(QUrl(QStringLiteral("file:///home/wang/UserInfo/wang/报告.exe")), nullptr);
    grabNext("safety-open-program.png");
    KvSafety::confirmOpenFile(QStringLiteral("/home/wang/UserInfo/wang/安装程序.sh"), nullptr);
    grabNext("safety-remove-friend.png");
    KvConfirmBox::ask(nullptr, QStringLiteral("删除好友"),
                      QStringLiteral("删除好友【张伟】后，与其的聊天记录也会一并删除，且无法恢复。\n\n确定删除吗？"));
    KvSafety::setEnabled(false);
}

void renderMenu()
{
    KvMenu menu;
    menu.addAction(QIcon("themeIcons:chat.kvsvg"), QStringLiteral("发送消息"));
    menu.addAction(QStringLiteral("从会话列表移除"));
    menu.addSeparator();
    menu.addAction(QIcon("themeIcons:delete.kvsvg"), QStringLiteral("删除好友"));
    menu.popup(QPoint(100, 100));
    QApplication::processEvents();
    menu.setActiveAction(menu.actions().at(1));
    QApplication::processEvents();
    saveOnDesk(&menu, "kit-menu.png");
}

QPixmap generatedPicture()
{
    QImage image(1600, 1000, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient sky(0, 0, 0, 1000);
    sky.setColorAt(0, QColor(0x7F, 0xB2, 0xE5));
    sky.setColorAt(1, QColor(0xE8, 0xF1, 0xFA));
    painter.fillRect(image.rect(), sky);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0xF6, 0xD3, 0x65));
    painter.drawEllipse(QPointF(1250, 230), 110, 110);
    painter.setBrush(QColor(0x4E, 0x8A, 0x5A));
    painter.drawPolygon(QPolygonF({QPointF(0, 1000), QPointF(0, 700), QPointF(380, 420), QPointF(760, 720),
                                   QPointF(1100, 500), QPointF(1600, 820), QPointF(1600, 1000)}));
    painter.setBrush(QColor(0x35, 0x6B, 0x44));
    painter.drawPolygon(QPolygonF({QPointF(0, 1000), QPointF(0, 860), QPointF(520, 760), QPointF(1000, 880),
                                   QPointF(1600, 760), QPointF(1600, 1000)}));
    painter.setPen(QPen(QColor(255, 255, 255, 200), 4, Qt::DashLine));
    for (int x = 0; x <= 1600; x += 200)
        painter.drawLine(x, 0, x, 1000);
    for (int y = 0; y <= 1000; y += 200)
        painter.drawLine(0, y, 1600, y);
    return QPixmap::fromImage(image);
}

void renderPictureViewer()
{
    KvPicShowWindow viewer;
    viewer.resize(960, 600);
    viewer.setPixmap(generatedPicture());
    viewer.show();
    QApplication::processEvents();
    save(viewer.grab().toImage(), "kit-picture-viewer.png");
}

void renderIconSheet()
{
    QStringList names;
    for (const QString &file : QDir(":/Theme/Image/Mutable").entryList(QDir::Files))
        names << ":/Theme/Image/Mutable/" + file;
    for (const QString &file : QDir(":/Theme/Image/Fixed").entryList(QDir::Files))
        names << ":/Theme/Image/Fixed/" + file;

    const int columns = 4;
    const QSize cell(200, 76);
    const int rows = (names.size() + columns - 1) / columns;
    QImage sheet(columns * cell.width() + 20, rows * cell.height() + 20, QImage::Format_ARGB32_Premultiplied);
    sheet.fill(KvTheme::color(KvTheme::WindowBackground));
    QPainter painter(&sheet);
    QFont font = QApplication::font();
    font.setPixelSize(11);
    painter.setFont(font);
    painter.setPen(KvTheme::color(KvTheme::Text));
    for (int i = 0; i < names.size(); ++i) {
        const QPoint origin(10 + (i % columns) * cell.width(), 10 + (i / columns) * cell.height());
        const QIcon icon(names.at(i));
        painter.drawPixmap(origin + QPoint((cell.width() - 34) / 2, 6), icon.pixmap(34, 34));
        const QString name = names.at(i);
        const QString label = name.contains("/Fixed/") ? name.section('/', -2) : name.section('/', -1);
        painter.drawText(QRect(origin + QPoint(0, 44), QSize(cell.width(), 20)), Qt::AlignCenter, label);
    }
    painter.end();
    save(sheet, "kit-icons.png");
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    outputDir = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QDir::currentPath();
    QDir().mkpath(outputDir);
    KvTheme::apply(KvTheme::Light);

    renderSampler(KvTheme::Light, "kit-frameless-dialog.png");
    renderSampler(KvTheme::Dark, "kit-frameless-dialog-dark.png");
    renderInputDialog();
    renderMessageBox();
    renderSafetyBoxes();
    renderMenu();
    renderPictureViewer();
    renderIconSheet();
    return 0;
}
