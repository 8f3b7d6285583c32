#include "OrxBalloonTip.h"

#include <QGridLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QStyle>

namespace {

constexpr int kArrowHeight = 10;
constexpr int kArrowHalfWidth = 8;
constexpr int kRadius = 6;
constexpr int kMargin = 8;
// Horizontal distance of the arrow from the tip's left edge, where there is room.
constexpr int kArrowInset = 20;

QStyle::StandardPixmap pixmapFor(QSystemTrayIcon::MessageIcon icon)
{
    switch (icon) {
    case QSystemTrayIcon::Information:
        return QStyle::SP_MessageBoxInformation;
    case QSystemTrayIcon::Warning:
        return QStyle::SP_MessageBoxWarning;
    case QSystemTrayIcon::Critical:
        return QStyle::SP_MessageBoxCritical;
    case QSystemTrayIcon::NoIcon:
        break;
    }
    return QStyle::SP_CustomBase;
}

} // namespace

QPointer<OrxBalloonTip> OrxBalloonTip::s_current;

void OrxBalloonTip::showBalloon(QSystemTrayIcon::MessageIcon icon, const QString& title,
                                const QString& message, const QPoint& globalPos, bool showArrow)
{
    hideBalloon();
    auto* tip = new OrxBalloonTip(icon, title, message);
    s_current = tip;
    tip->placeAt(globalPos, showArrow);
    tip->show();
    tip->m_hideTimer.start(kHideAfterMs, tip);
}

void OrxBalloonTip::hideBalloon()
{
    if (!s_current)
        return;
    s_current->m_hideTimer.stop();
    s_current->hide();
    s_current->deleteLater();
    s_current = nullptr;
}

bool OrxBalloonTip::isBalloonVisible()
{
    return s_current && s_current->isVisible();
}

OrxBalloonTip* OrxBalloonTip::current()
{
    return s_current;
}

OrxBalloonTip::OrxBalloonTip(QSystemTrayIcon::MessageIcon icon, const QString& title,
                             const QString& message)
    : QWidget(nullptr, Qt::ToolTip | Qt::FramelessWindowHint), m_icon(icon), m_title(title),
      m_message(message)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName("OrxBalloonTip");

    auto* layout = new QGridLayout(this);
    layout->setHorizontalSpacing(6);
    layout->setVerticalSpacing(4);
    int column = 0;
    const QStyle::StandardPixmap pixmap = pixmapFor(icon);
    if (pixmap != QStyle::SP_CustomBase) {
        const int size = style()->pixelMetric(QStyle::PM_SmallIconSize);
        auto* iconLabel = new QLabel(this);
        iconLabel->setPixmap(style()->standardIcon(pixmap).pixmap(size, size));
        iconLabel->setAlignment(Qt::AlignTop | Qt::AlignLeft);
        layout->addWidget(iconLabel, 0, column++, 2, 1);
    }
    auto* titleLabel = new QLabel(title, this);
    titleLabel->setObjectName("title");
    QFont bold = titleLabel->font();
    bold.setBold(true);
    titleLabel->setFont(bold);
    titleLabel->setTextFormat(Qt::PlainText);
    layout->addWidget(titleLabel, 0, column);

    auto* messageLabel = new QLabel(message, this);
    messageLabel->setObjectName("message");
    messageLabel->setTextFormat(Qt::PlainText);
    messageLabel->setWordWrap(true);
    layout->addWidget(messageLabel, 1, column);

    setArrowSide(true);
}

void OrxBalloonTip::setArrowSide(bool atTop)
{
    m_arrowAtTop = atTop;
    const int arrow = m_showArrow ? kArrowHeight : 0;
    layout()->setContentsMargins(kMargin + 2, kMargin + (atTop ? arrow : 0), kMargin + 2,
                                 kMargin + (atTop ? 0 : arrow));
}

void OrxBalloonTip::placeAt(const QPoint& anchor, bool showArrow)
{
    m_anchor = anchor;
    m_showArrow = showArrow;
    setArrowSide(true);
    adjustSize();
    const QSize tipSize = size();

    const QScreen* screen = QGuiApplication::screenAt(anchor);
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const QRect area = screen ? screen->availableGeometry() : QRect(anchor, tipSize);

    // Below the spot where it fits, else above it; shifted sideways to stay
    // on the screen, the arrow still ending at the spot.
    const bool below = anchor.y() + tipSize.height() <= area.bottom() + 1 ||
                       anchor.y() - tipSize.height() < area.top();
    int x = anchor.x() - (showArrow ? kArrowInset : 0);
    x = qMax(area.left(), qMin(x, area.right() + 1 - tipSize.width()));
    m_arrowX = qBound(kRadius + kArrowHalfWidth, anchor.x() - x,
                      tipSize.width() - kRadius - kArrowHalfWidth);
    setArrowSide(below);
    move(x, below ? anchor.y() : anchor.y() - tipSize.height());
    updateMask();
}

QPainterPath OrxBalloonTip::outline() const
{
    const int arrow = m_showArrow ? kArrowHeight : 0;
    const QRectF body(0.5, 0.5 + (m_arrowAtTop ? arrow : 0), width() - 1.0, height() - 1.0 - arrow);
    QPainterPath path;
    path.addRoundedRect(body, kRadius, kRadius);
    if (m_showArrow) {
        QPainterPath pointer;
        const qreal base = m_arrowAtTop ? body.top() + 1 : body.bottom() - 1;
        const qreal tip = m_arrowAtTop ? 0.5 : height() - 0.5;
        pointer.moveTo(m_arrowX - kArrowHalfWidth, base);
        pointer.lineTo(m_arrowX, tip);
        pointer.lineTo(m_arrowX + kArrowHalfWidth, base);
        pointer.closeSubpath();
        path = path.united(pointer);
    }
    return path;
}

void OrxBalloonTip::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette().color(QPalette::ToolTipText), 1));
    painter.setBrush(palette().color(QPalette::ToolTipBase));
    painter.drawPath(outline());
}

void OrxBalloonTip::mousePressEvent(QMouseEvent* event)
{
    event->accept();
    if (s_current == this)
        hideBalloon();
    else
        close();
}

void OrxBalloonTip::timerEvent(QTimerEvent* event)
{
    if (event->timerId() != m_hideTimer.timerId()) {
        QWidget::timerEvent(event);
        return;
    }
    if (s_current == this)
        hideBalloon();
    else
        close();
}

void OrxBalloonTip::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    updateMask();
}

void OrxBalloonTip::updateMask()
{
    // The window takes the balloon's shape, so the corners and the space
    // beside the arrow do not show.
    setMask(QRegion(outline().toFillPolygon().toPolygon()));
}
