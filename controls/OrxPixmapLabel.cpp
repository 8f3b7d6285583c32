#include "OrxPixmapLabel.h"

#include <QPixmap>

OrxPixmapLabel::OrxPixmapLabel(QWidget* parent) : QLabel(parent)
{
    setAlignment(Qt::AlignCenter);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void OrxPixmapLabel::setImage(const QImage& image)
{
    m_image = image;
    rescale();
}

QSize OrxPixmapLabel::sizeHint() const
{
    return QSize(160, 120);
}

QSize OrxPixmapLabel::minimumSizeHint() const
{
    return QSize(16, 16);
}

void OrxPixmapLabel::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    rescale();
}

void OrxPixmapLabel::showEvent(QShowEvent* event)
{
    QLabel::showEvent(event);
    rescale();
}

void OrxPixmapLabel::rescale()
{
    if (m_image.isNull() || !isVisible() || width() <= 0 || height() <= 0) {
        setPixmap(QPixmap());
        return;
    }
    setPixmap(
        QPixmap::fromImage(m_image.scaled(size(), Qt::KeepAspectRatio, Qt::SmoothTransformation)));
}
