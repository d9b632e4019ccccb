#include "iconbutton.h"

#include <QHash>
#include <QPainter>
#include <QPainterPath>
#include <QPixmapCache>

namespace {

// Thousands of rows share a handful of default icons: one QIcon per name.
QIcon sharedIcon(const QString &path)
{
    static QHash<QString, QIcon> icons;
    auto found = icons.find(path);
    if (found == icons.end())
        found = icons.insert(path, QIcon(path));
    return found.value();
}

} // namespace

KvIconButton::KvIconButton(QWidget *parent)
    : QPushButton(parent)
{
}

KvIconButton::KvIconButton(Type type, QWidget *parent)
    : QPushButton(parent)
    , m_type(type)
{
}

void KvIconButton::setType(int type)
{
    m_type = type;
    update();
}

void KvIconButton::setRadiusSize(int radius)
{
    m_radius = radius;
    update();
}

void KvIconButton::setDefaultIcon(const QString &iconPath)
{
    m_defaultPath = iconPath;
    m_defaultIcon = sharedIcon(iconPath);
    refreshIcon();
}

void KvIconButton::setDefaultIcon(const QIcon &icon)
{
    m_defaultPath.clear();
    m_defaultIcon = icon;
    refreshIcon();
}

void KvIconButton::setButtonIcon(const QPixmap &pixmap)
{
    m_pixmap = pixmap;
    refreshIcon();
}

void KvIconButton::setButtonIcon(const QString &filePath)
{
    setButtonIcon(QPixmap(filePath));
}

void KvIconButton::clear()
{
    m_pixmap = QPixmap();
    refreshIcon();
}

void KvIconButton::refreshIcon()
{
    // Plain buttons paint through QPushButton; the shaped types paint themselves.
    if (m_type == Normal)
        setIcon(m_pixmap.isNull() ? m_defaultIcon : QIcon(m_pixmap));
    update();
}

QPixmap KvIconButton::buttonPixmap() const
{
    if (!m_pixmap.isNull())
        return m_pixmap;
    if (m_defaultIcon.isNull())
        return {};
    const QSize size = iconSize();
    const QString key = m_defaultPath.isEmpty()
        ? QString()
        : QStringLiteral("kvicon:%1:%2x%3:%4").arg(m_defaultPath).arg(size.width()).arg(size.height()).arg(devicePixelRatioF());
    QPixmap pixmap;
    if (!key.isEmpty() && QPixmapCache::find(key, &pixmap))
        return pixmap;
    pixmap = m_defaultIcon.pixmap(size);
    if (!key.isEmpty())
        QPixmapCache::insert(key, pixmap);
    return pixmap;
}

void KvIconButton::paintEvent(QPaintEvent *event)
{
    if (m_type != Round && m_type != RoundedRect) {
        QPushButton::paintEvent(event);
        return;
    }
    const QPixmap pixmap = m_pixmap.isNull() ? buttonPixmap() : m_pixmap;
    if (pixmap.isNull())
        return;
    // A portrait fills the button; a default icon keeps its own size, centred.
    QSize side = m_pixmap.isNull() ? iconSize().boundedTo(size()) : size();
    const int edge = qMin(side.width(), side.height());
    const QRect target(QPoint((width() - edge) / 2, (height() - edge) / 2), QSize(edge, edge));

    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    QPainterPath clip;
    if (m_type == Round)
        clip.addEllipse(QRectF(target));
    else
        clip.addRoundedRect(QRectF(target), m_radius, m_radius);
    painter.setClipPath(clip);
    const QPixmap scaled = pixmap.size() == target.size() * devicePixelRatioF()
        ? pixmap
        : pixmap.scaled(target.size() * devicePixelRatioF(), Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
    painter.drawPixmap(target, scaled,
                       QRect(QPoint((scaled.width() - target.width() * devicePixelRatioF()) / 2,
                                    (scaled.height() - target.height() * devicePixelRatioF()) / 2),
                             target.size() * devicePixelRatioF()));
}
