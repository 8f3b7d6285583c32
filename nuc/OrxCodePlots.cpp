#include "OrxCodePlots.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

QVector<QRgb> mapCodeColours()
{
    // Key colours of a perceptually even scale, interpolated linearly.
    static const QColor keys[] = {QColor(68, 1, 84), QColor(59, 82, 139), QColor(33, 145, 140),
                                  QColor(94, 201, 98), QColor(253, 231, 37)};
    constexpr int segments = int(sizeof(keys) / sizeof(keys[0])) - 1;
    QVector<QRgb> table(256);
    for (int i = 0; i < 256; ++i) {
        const double at = i / 255.0 * segments;
        const int k = std::min(int(at), segments - 1);
        const double f = at - k;
        auto mix = [f](int a, int b) { return int(a + (b - a) * f + 0.5); };
        table[i] =
            qRgb(mix(keys[k].red(), keys[k + 1].red()), mix(keys[k].green(), keys[k + 1].green()),
                 mix(keys[k].blue(), keys[k + 1].blue()));
    }
    return table;
}

namespace {

constexpr int BarHeight = 14;
constexpr int PlotHeight = 90;

} // namespace

OrxColourBar::OrxColourBar(quint32 top, QWidget* parent) : QWidget(parent), m_top(top)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize OrxColourBar::sizeHint() const
{
    return QSize(200, BarHeight + fontMetrics().height() + 4);
}

void OrxColourBar::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QVector<QRgb> colours = mapCodeColours();
    QLinearGradient gradient(0, 0, width(), 0);
    for (int i = 0; i < colours.size(); i += 15)
        gradient.setColorAt(i / 255.0, QColor(colours[i]));
    gradient.setColorAt(1.0, QColor(colours.last()));
    painter.fillRect(QRect(0, 0, width(), BarHeight), gradient);
    painter.setPen(palette().color(QPalette::WindowText));
    const QRect labels(0, BarHeight + 2, width(), fontMetrics().height());
    painter.drawText(labels, Qt::AlignLeft, QStringLiteral("0"));
    painter.drawText(labels, Qt::AlignHCenter, QString::number((m_top + 1) / 2));
    painter.drawText(labels, Qt::AlignRight, QString::number(m_top));
}

OrxCodeHistogram::OrxCodeHistogram(quint32 top, QWidget* parent)
    : QWidget(parent), m_top(top), m_counts(int(top) + 1, 0)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void OrxCodeHistogram::setCounts(const QVector<quint32>& counts)
{
    m_counts = counts;
    update();
}

QSize OrxCodeHistogram::sizeHint() const
{
    return QSize(200, PlotHeight + fontMetrics().height() + 4);
}

void OrxCodeHistogram::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QRect plot(0, 0, width(), PlotHeight);
    painter.fillRect(plot, palette().color(QPalette::Base));
    const int codes = m_counts.size();
    const quint32 highest = codes > 0 ? *std::max_element(m_counts.begin(), m_counts.end()) : 0;
    if (highest > 0) {
        const QVector<QRgb> colours = mapCodeColours();
        // Logarithmic: the clamped codes often hold far more pixels than any
        // other, and the spread of the rest must stay visible beside them.
        auto barHeight = [&](quint32 count) {
            return std::max(1, int(std::log1p(double(count)) / std::log1p(double(highest)) *
                                   (plot.height() - 1)));
        };
        // Several codes share a column when there are more codes than pixels;
        // the column shows the largest of them, so a lone spike stays visible.
        for (int x = 0; x < plot.width(); ++x) {
            const int from = x * codes / plot.width();
            const int first = std::max(1, from);
            const int last =
                std::min(codes - 2, std::max(from, (x + 1) * codes / plot.width() - 1));
            quint32 count = 0;
            for (int code = first; code <= last; ++code)
                count = std::max(count, m_counts[code]);
            if (count == 0)
                continue;
            const int bar = barHeight(count);
            const QColor colour(colours[first * 255 / std::max(1, codes - 1)]);
            painter.fillRect(QRect(x, plot.bottom() - bar + 1, 1, bar), colour);
        }
        // The clamped codes at both ends, drawn over whatever shares their column.
        const int clampWidth = std::max(3, plot.width() / codes);
        for (const int code : {0, codes - 1}) {
            if (m_counts[code] == 0)
                continue;
            const int bar = barHeight(m_counts[code]);
            const int x = code == 0 ? 0 : plot.width() - clampWidth;
            painter.fillRect(QRect(x, plot.bottom() - bar + 1, clampWidth, bar), Qt::red);
        }
    }
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(plot.adjusted(0, 0, -1, -1));
    painter.setPen(palette().color(QPalette::WindowText));
    const QRect labels(0, PlotHeight + 2, width(), fontMetrics().height());
    painter.drawText(labels, Qt::AlignLeft, QStringLiteral("0"));
    painter.drawText(labels, Qt::AlignHCenter, tr("most: %1 pixels (log scale)").arg(highest));
    painter.drawText(labels, Qt::AlignRight, QString::number(m_top));
}
