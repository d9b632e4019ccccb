// SPDX-License-Identifier: MIT
#include "iconbutton.h"

#include <QIconEngine>
#include <QImageReader>
#include <QPainter>
#include <QPainterPath>
#include <QPixmapCache>
#include <QStyleOptionButton>
#include <QStylePainter>

namespace {

// Renders an icon file at the exact size asked for (an SVG is drawn at that
// size, not scaled from its nominal one) and keeps the result in the pixmap
// cache, so a thousand rows with the same default icon share one pixmap.
class CachedFileIconEngine : public QIconEngine
{
public:
    explicit CachedFileIconEngine(const QString &path) : m_path(path) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        const qreal dpr = painter->device() ? painter->device()->devicePixelRatioF() : 1.0;
        QPixmap pm = pixmap(rect.size() * dpr, mode, state);
        pm.setDevicePixelRatio(dpr);
        painter->drawPixmap(rect, pm);
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State) override
    {
        QPixmap pm = KvIconButton::cachedPixmap(m_path, size);
        if (mode == QIcon::Disabled && !pm.isNull()) {
            const QString key = QStringLiteral("kvicon-disabled:%1:%2x%3").arg(m_path).arg(size.width()).arg(size.height());
            QPixmap disabled;
            if (!QPixmapCache::find(key, &disabled)) {
                QImage image = pm.toImage().convertToFormat(QImage::Format_ARGB32);
                for (int y = 0; y < image.height(); ++y) {
                    auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
                    for (int x = 0; x < image.width(); ++x) {
                        const int gray = qGray(line[x]);
                        line[x] = qRgba(gray, gray, gray, qAlpha(line[x]) * 2 / 5);
                    }
                }
                disabled = QPixmap::fromImage(image);
                QPixmapCache::insert(key, disabled);
            }
            return disabled;
        }
        return pm;
    }

    QSize actualSize(const QSize &size, QIcon::Mode, QIcon::State) override { return size; }
    QIconEngine *clone() const override { return new CachedFileIconEngine(m_path); }
    QString key() const override { return QStringLiteral("KvCachedFileIconEngine"); }
    void virtual_hook(int id, void *data) override
    {
        // Only files that render are given this engine, so the icon is never null.
        if (id == QIconEngine::IsNullHook) {
            *reinterpret_cast<bool *>(data) = false;
            return;
        }
        QIconEngine::virtual_hook(id, data);
    }

private:
    QString m_path;
};

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
    if (m_type == Normal)
        decodePending();
    updateShownIcon();
}

int KvIconButton::type() const
{
    return m_type;
}

void KvIconButton::setRadiusSize(int radius)
{
    m_radius = radius;
    update();
}

int KvIconButton::radiusSize() const
{
    return m_radius;
}

void KvIconButton::setDefaultIcon(const QString &iconPath)
{
    m_defaultIcon = cachedIcon(iconPath);
    updateShownIcon();
}

void KvIconButton::setDefaultIcon(const QIcon &icon)
{
    m_defaultIcon = icon;
    updateShownIcon();
}

QIcon KvIconButton::defaultIcon() const
{
    return m_defaultIcon;
}

void KvIconButton::setButtonIcon(const QPixmap &pixmap)
{
    m_encoded.clear();
    m_pixmap = pixmap;
    updateShownIcon();
}

void KvIconButton::setButtonIcon(const QString &filePath)
{
    setButtonIcon(QPixmap(filePath));
}

void KvIconButton::setButtonIconData(const QByteArray &encoded)
{
    m_pixmap = QPixmap();
    m_encoded = encoded;
    // The style draws a Normal button's icon, so it needs the picture now.
    if (m_type == Normal)
        decodePending();
    updateShownIcon();
}

void KvIconButton::decodePending() const
{
    if (m_encoded.isEmpty())
        return;
    m_pixmap.loadFromData(m_encoded);
    m_encoded.clear();
}

void KvIconButton::clear()
{
    m_encoded.clear();
    m_pixmap = QPixmap();
    updateShownIcon();
}

bool KvIconButton::hasButtonIcon() const
{
    decodePending();
    return !m_pixmap.isNull();
}

QPixmap KvIconButton::buttonPixmap() const
{
    decodePending();
    if (!m_pixmap.isNull())
        return m_pixmap;
    if (m_defaultIcon.isNull())
        return QPixmap();
    return m_defaultIcon.pixmap(iconSize());
}

QSize KvIconButton::pictureSize() const
{
    // An icon size left at the style's default means "fill the button".
    const int styleDefault = style()->pixelMetric(QStyle::PM_ButtonIconSize, nullptr, this);
    QSize size = iconSize();
    if (size == QSize(styleDefault, styleDefault)) {
        const int side = qMin(width(), height());
        size = QSize(side, side);
    }
    return size.boundedTo(this->size());
}

void KvIconButton::updateShownIcon()
{
    // A Normal button lets the style draw the icon; the shaped types paint their own.
    if (m_type == Normal)
        setIcon(m_pixmap.isNull() ? m_defaultIcon : QIcon(m_pixmap));
    else
        setIcon(QIcon());
    update();
}

void KvIconButton::paintEvent(QPaintEvent *event)
{
    if (m_type == Normal) {
        QPushButton::paintEvent(event);
        return;
    }
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    option.icon = QIcon();
    option.text.clear();
    painter.drawControl(QStyle::CE_PushButtonBevel, option);

    const QSize size = pictureSize();
    if (size.isEmpty())
        return;
    const QRect target(QPoint((width() - size.width()) / 2, (height() - size.height()) / 2), size);
    const qreal dpr = devicePixelRatioF();
    decodePending();
    QPixmap shown;
    if (!m_pixmap.isNull()) {
        shown = m_pixmap;
    } else if (!m_defaultIcon.isNull()) {
        shown = m_defaultIcon.pixmap(size * dpr, isEnabled() ? QIcon::Normal : QIcon::Disabled);
    }
    if (shown.isNull())
        return;

    QPainterPath clip;
    if (m_type == Round)
        clip.addEllipse(QRectF(target));
    else
        clip.addRoundedRect(QRectF(target), m_radius, m_radius);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setClipPath(clip);
    // A picture that isn't square is cropped to its centre, not squeezed.
    const QSize source = shown.size().scaled(size, Qt::KeepAspectRatioByExpanding);
    QRect drawn(QPoint(0, 0), source);
    drawn.moveCenter(target.center());
    painter.drawPixmap(drawn, shown);
}

QPixmap KvIconButton::cachedPixmap(const QString &path, const QSize &size)
{
    if (path.isEmpty() || size.isEmpty())
        return QPixmap();
    const QString key = QStringLiteral("kvicon:%1:%2x%3").arg(path).arg(size.width()).arg(size.height());
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;
    QImageReader reader(path);
    const QSize native = reader.size();
    if (native.isValid())
        reader.setScaledSize(native.scaled(size, Qt::KeepAspectRatio));
    QImage image = reader.read();
    if (image.isNull())
        return QPixmap();
    if (image.size() != native.scaled(size, Qt::KeepAspectRatio))
        image = image.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    pixmap = QPixmap::fromImage(image);
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

QIcon KvIconButton::cachedIcon(const QString &path)
{
    static QHash<QString, QIcon> icons;
    auto found = icons.constFind(path);
    if (found != icons.constEnd())
        return found.value();
    QIcon icon;
    if (!cachedPixmap(path, QSize(16, 16)).isNull())
        icon = QIcon(new CachedFileIconEngine(path));
    icons.insert(path, icon);
    return icon;
}
