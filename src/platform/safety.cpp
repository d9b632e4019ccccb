// SPDX-License-Identifier: MIT
#include "safety.h"

#include "confirmbox.h"
#include "messagebox.h"
#include "selfservermanager.h"

#include <QAtomicInt>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QHash>
#include <QLabel>
#include <QRegularExpression>
#include <QSet>
#include <QTextDocument>
#include <QUrl>

namespace {

QAtomicInt g_enabled(0);
QAtomicInt g_timeout(0);
constexpr int DefaultTransferTimeout = 30000;

QString tagAttributes(const QString &tag, const QString &attributes)
{
    // Only attributes that change how text looks or where a link points; none
    // of them names a resource that Qt would load.
    static const QHash<QString, QSet<QString>> allowed = {
        {QStringLiteral("a"), {QStringLiteral("href")}},
        {QStringLiteral("font"), {QStringLiteral("color"), QStringLiteral("size"), QStringLiteral("face")}},
        {QStringLiteral("p"), {QStringLiteral("align")}},
        {QStringLiteral("div"), {QStringLiteral("align")}},
    };
    const auto kept = allowed.constFind(tag);
    if (kept == allowed.constEnd())
        return QString();
    static const QRegularExpression attribute(
        QStringLiteral("([A-Za-z_:][-A-Za-z0-9_:.]*)\\s*=\\s*(\"[^\"]*\"|'[^']*'|[^\\s\"'>]+)"));
    QString out;
    QRegularExpressionMatchIterator it = attribute.globalMatch(attributes);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        const QString name = match.captured(1).toLower();
        if (!kept->contains(name))
            continue;
        QString value = match.captured(2);
        if (value.startsWith(QLatin1Char('"')) || value.startsWith(QLatin1Char('\'')))
            value = value.mid(1, value.size() - 2);
        value.replace(QLatin1Char('"'), QStringLiteral("&quot;"));
        out += QStringLiteral(" %1=\"%2\"").arg(name, value);
    }
    return out;
}

QString escapeText(QString text)
{
    return text.replace(QLatin1Char('<'), QStringLiteral("&lt;")).replace(QLatin1Char('>'), QStringLiteral("&gt;"));
}

} // namespace

void KvSafety::setEnabled(bool on)
{
    g_enabled.storeRelaxed(on ? 1 : 0);
}

bool KvSafety::enabled()
{
    return g_enabled.loadRelaxed() != 0;
}

bool KvSafety::isSafeLinkScheme(const QUrl &url)
{
    const QString scheme = url.scheme().toLower();
    return scheme == QLatin1String("http") || scheme == QLatin1String("https") || scheme == QLatin1String("mailto");
}

bool KvSafety::openLink(const QUrl &url, QWidget *parent)
{
    if (!enabled() || isSafeLinkScheme(url))
        return QDesktopServices::openUrl(url);
    const QString why = url.scheme().isEmpty()
        ? QCoreApplication::translate("KvSafety", "链接没有写明协议。")
        : QCoreApplication::translate("KvSafety", "“%1:”链接可以打开本机文件或运行程序。").arg(url.scheme());
    KvMessageBox::show(parent, QCoreApplication::translate("KvSafety", "链接未打开"),
                       QCoreApplication::translate("KvSafety", "未打开链接：\n%1\n\n%2只打开 http、https 和 mailto 链接。")
                           .arg(url.toDisplayString(), why),
                       QMessageBox::Warning, nullptr);
    return false;
}

QString KvSafety::inertMarkup(const QString &html)
{
    static const QSet<QString> textTags = {
        QStringLiteral("a"),   QStringLiteral("b"),     QStringLiteral("strong"), QStringLiteral("i"),
        QStringLiteral("em"),  QStringLiteral("u"),     QStringLiteral("s"),      QStringLiteral("del"),
        QStringLiteral("br"),  QStringLiteral("p"),     QStringLiteral("div"),    QStringLiteral("span"),
        QStringLiteral("font"), QStringLiteral("sub"),  QStringLiteral("sup"),    QStringLiteral("small"),
        QStringLiteral("big"), QStringLiteral("pre"),   QStringLiteral("code"),   QStringLiteral("tt"),
        QStringLiteral("h1"),  QStringLiteral("h2"),    QStringLiteral("h3"),     QStringLiteral("h4"),
        QStringLiteral("h5"),  QStringLiteral("h6"),    QStringLiteral("ul"),     QStringLiteral("ol"),
        QStringLiteral("li"),  QStringLiteral("blockquote"), QStringLiteral("hr"), QStringLiteral("center"),
    };
    // Content that is never text: a style sheet (which may import), a script, comments.
    static const QRegularExpression hidden(
        QStringLiteral("<!--.*?(-->|$)|<\\s*(style|script|head)\\b.*?(<\\s*/\\s*\\2\\s*>|$)"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression tag(QStringLiteral("<\\s*(/?)\\s*([A-Za-z][A-Za-z0-9]*)([^<>]*)>"));
    QString source = html;
    source.remove(hidden);
    QString out;
    int from = 0;
    QRegularExpressionMatchIterator it = tag.globalMatch(source);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        out += escapeText(source.mid(from, match.capturedStart() - from));
        from = match.capturedEnd();
        const QString name = match.captured(2).toLower();
        if (!textTags.contains(name))
            continue;
        if (!match.captured(1).isEmpty())
            out += QStringLiteral("</%1>").arg(name);
        else
            out += QStringLiteral("<%1%2>").arg(name, tagAttributes(name, match.captured(3)));
    }
    out += escapeText(source.mid(from));
    return out;
}

void KvSafety::setReceivedText(QLabel *label, const QString &text)
{
    // The label parses exactly what Qt::mightBeRichText accepts; the rest is
    // shown as plain text and reads nothing.
    if (!enabled() || !Qt::mightBeRichText(text)) {
        label->setText(text);
        return;
    }
    label->setTextFormat(Qt::RichText);
    label->setText(inertMarkup(text));
}

void KvSafety::routeLinks(QLabel *label)
{
    label->setOpenExternalLinks(false);
    QObject::connect(label, &QLabel::linkActivated, label,
                     [label](const QString &link) { openLink(QUrl(link), label->window()); });
}

QString KvSafety::plainToolTip(const QString &text)
{
    if (!Qt::mightBeRichText(text))
        return text;
    return QStringLiteral("<p style='white-space:pre-wrap'>%1</p>").arg(text.toHtmlEscaped());
}

bool KvSafety::runsCode(const QString &path)
{
    const QFileInfo info(path);
#ifdef Q_OS_WIN
    static const QSet<QString> suffixes = {
        QStringLiteral("exe"), QStringLiteral("bat"), QStringLiteral("cmd"), QStringLiteral("com"),
        QStringLiteral("scr"), QStringLiteral("pif"), QStringLiteral("ps1"), QStringLiteral("vbs"),
        QStringLiteral("js"),  QStringLiteral("jse"), QStringLiteral("wsf"), QStringLiteral("hta"),
        QStringLiteral("msi"), QStringLiteral("lnk"), QStringLiteral("reg"), QStringLiteral("jar"),
    };
    return suffixes.contains(info.suffix().toLower());
#else
    const QString suffix = info.suffix().toLower();
    if (suffix == QLatin1String("desktop") || suffix == QLatin1String("sh") || suffix == QLatin1String("appimage"))
        return true;
    return info.isFile() && (info.permissions() & (QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther));
#endif
}

bool KvSafety::confirmOpenFile(const QString &path, QWidget *parent)
{
    if (!enabled() || !runsCode(path))
        return true;
    return KvConfirmBox::ask(parent, QCoreApplication::translate("KvSafety", "打开文件"),
                             QCoreApplication::translate("KvSafety",
                                                         "“%1”是可以运行的程序或脚本，打开它会在本机上运行"
                                                         "其中的代码。\n\n只有信任发送者时才打开。仍要打开吗？")
                                 .arg(QFileInfo(path).fileName()));
}

QString KvSafety::noticePageUrl(const QString &url, const QString &token, qint64 id)
{
    if (!KvSafety::enabled())
        return QStringLiteral("%1?token=%2&id=%3").arg(url, token, QString::number(id));
    const QUrl page(url);
    if (!isWebUrl(page))
        return QString();
    const KvSelfServerManager *servers = KvSelfServerManager::instance();
    const QString host = page.host().toLower();
    const bool ownHost = !host.isEmpty()
        && (host == QUrl(servers->accountServerUrl()).host().toLower()
            || host == servers->messageServerHost().section(QLatin1Char(':'), 0, 0).toLower()
            || host == servers->fileServerHost().section(QLatin1Char(':'), 0, 0).toLower());
    return ownHost ? QStringLiteral("%1?token=%2&id=%3").arg(url, token, QString::number(id))
                   : QStringLiteral("%1?id=%2").arg(url, QString::number(id));
}

bool KvSafety::isWebUrl(const QUrl &url)
{
    const QString scheme = url.scheme().toLower();
    return scheme == QLatin1String("http") || scheme == QLatin1String("https");
}

int KvSafety::transferTimeout()
{
    const int ms = g_timeout.loadRelaxed();
    return ms > 0 ? ms : DefaultTransferTimeout;
}

void KvSafety::setTransferTimeoutForTest(int ms)
{
    g_timeout.storeRelaxed(ms);
}
