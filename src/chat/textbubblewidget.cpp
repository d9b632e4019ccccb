// SPDX-License-Identifier: MIT
#include "textbubblewidget.h"

#include "platform/safety.h"
#include "platform/theme.h"

#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QRegularExpression>
#include <QStyle>
#include <QTextDocument>

KvTextBubbleWidget::KvTextBubbleWidget(bool isSend, const QString &text, QWidget *parent)
    : QWidget(parent)
    , isSend(isSend)
{
    setAttribute(Qt::WA_StyledBackground);
    label = new QLabel(this);
    label->setWordWrap(true);
    KvSafety::routeLinks(label);
    setText(text);
    // A plain text is painted by the bubble until the pointer comes over it,
    // so that a page of thousands of rows shows one widget fewer a row.
    if (label->textFormat() != Qt::RichText && !Qt::mightBeRichText(label->text())) {
        label->hide();
        setAccessibleName(plainText);
    }
    // The bubble's height comes from the label's height for its width. A new
    // policy drops that flag, which only a style change would set again, so a
    // host without our style sheet saw no text at all.
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Ignored);
    policy.setHeightForWidth(true);
    label->setSizePolicy(policy);
    label->setAlignment(isSend ? Qt::AlignRight | Qt::AlignVCenter : Qt::AlignLeft | Qt::AlignVCenter);
    QSizePolicy own(QSizePolicy::Expanding, QSizePolicy::Fixed);
    own.setHeightForWidth(true);
    setSizePolicy(own);
}

bool KvTextBubbleWidget::hasHeightForWidth() const
{
    return true;
}

int KvTextBubbleWidget::heightForWidth(int width) const
{
    // The tail takes its room on the sender's side.
    const int inner = qMax(0, width - 2 * margin - tailSize);
    if (label->font() != measuredFont) {
        measuredFont = label->font();
        measuredWidths[0] = measuredWidths[1] = -1;
    }
    for (int i = 0; i < 2; ++i) {
        if (measuredWidths[i] == inner)
            return measuredHeights[i] + 2 * margin;
    }
    measuredWidths[1] = measuredWidths[0];
    measuredHeights[1] = measuredHeights[0];
    measuredWidths[0] = inner;
    measuredHeights[0] = label->heightForWidth(inner);
    return measuredHeights[0] + 2 * margin;
}

QSize KvTextBubbleWidget::sizeHint() const
{
    const int width = label->sizeHint().width() + 2 * margin + tailSize;
    return QSize(width, heightForWidth(width));
}

QSize KvTextBubbleWidget::minimumSizeHint() const
{
    return QSize(2 * margin + tailSize, label->fontMetrics().height() + 2 * margin);
}

void KvTextBubbleWidget::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    label->setGeometry(isSend ? margin : margin + tailSize, margin, qMax(0, width() - 2 * margin - tailSize),
                       qMax(0, height() - 2 * margin));
}

void KvTextBubbleWidget::setText(const QString &text)
{
    if (text.isEmpty()) {
        label->setText(QStringLiteral("    "));
        plainText = label->text();
        return;
    }
    static const QRegularExpression linkExpression(QStringLiteral("(http[s]{0,1}://|www)[\\w./?=#&-]*"));
    QStringList links;
    QRegularExpressionMatchIterator matches = linkExpression.globalMatch(text);
    while (matches.hasNext())
        links.append(matches.next().captured(0));
    const QStringList parts = text.split(linkExpression, Qt::KeepEmptyParts);

    // Sent markup is not escaped: the label's rich-text detection sees the text as typed.
    QString html;
    for (int i = 0; i < parts.size(); ++i) {
        html.append(parts.at(i));
        plainText.append(parts.at(i));
        if (i < links.size()) {
            html.append(QStringLiteral("<a href='%1'>%1</a>").arg(links.at(i)));
            plainText.append(links.at(i));
        }
    }
    KvSafety::setReceivedText(label, html);
}

void KvTextBubbleWidget::enterEvent(QEvent *event)
{
    // Selection needs a text document per label, which a plain text otherwise
    // never has: only bubbles the pointer has come over build one, not every
    // bubble that has scrolled past.
    if (!(label->textInteractionFlags() & Qt::TextSelectableByMouse)) {
        label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::LinksAccessibleByMouse);
        label->show();
        // The document may break a text at the edge of the width on another
        // word than the plain measure did: measured again, the row follows.
        measuredWidths[0] = measuredWidths[1] = -1;
        if (heightForWidth(width()) != height())
            updateGeometry();
    }
    QWidget::enterEvent(event);
}

void KvTextBubbleWidget::paintEvent(QPaintEvent *event)
{
    QWidget::paintEvent(event);

    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QColor color(QStringLiteral("#0099FF"));

    const QFontMetrics metrics(label->font());
    QRect box = metrics.boundingRect(label->geometry(), Qt::TextWordWrap, plainText);
    if (isSend) {
        color = KvTheme::color(KvTheme::OutgoingBubble);
        box.translate(label->width() - box.width(), 0);
    } else {
        color = KvTheme::color(KvTheme::IncomingBubble);
    }
    box.adjust(-margin, -margin, margin, margin);
    painter.setBrush(color);
    painter.drawRoundedRect(box, 8, 8);

    const int w = width();
    QPainterPath tail;
    if (isSend) {
        tail.moveTo(w - 9, 8);
        tail.quadTo(w - 4, 8, w - 4, 4);
        tail.quadTo(w - 4, 16, w - 9, 16);
    } else {
        tail.moveTo(9, 8);
        tail.quadTo(4, 8, 4, 4);
        tail.quadTo(4, 16, 9, 16);
    }
    painter.drawPath(tail);
    painter.end();

    if (label->isHidden()) {
        // As the label paints a plain text of its own.
        QPainter text(this);
        const bool rightToLeft = plainText.isRightToLeft();
        const int flags = int(QStyle::visualAlignment(rightToLeft ? Qt::RightToLeft : Qt::LeftToRight, label->alignment()))
            | Qt::TextWordWrap | (rightToLeft ? Qt::TextForceRightToLeft : Qt::TextForceLeftToRight);
        style()->drawItemText(&text, label->geometry(), flags, label->palette(), label->isEnabled(), label->text(),
                              label->foregroundRole());
    }
}
