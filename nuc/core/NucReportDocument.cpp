#include "NucReportDocument.h"

#include "NucCorrectionReport.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QPageSize>
#include <QPainter>
#include <QPainterPath>
#include <QPdfWriter>
#include <QSaveFile>

#include <algorithm>

namespace NucReportDocument {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("NucReportDocument", text);
}

const QColor BeforeColour(200, 60, 40);
const QColor AfterColour(30, 90, 200);

void drawSeries(QPainter& p, const QRectF& plot, const QVector<double>& values, double low,
                double high, const QColor& colour)
{
    if (values.isEmpty() || high <= low)
        return;
    QPainterPath path;
    const double step = values.size() > 1 ? plot.width() / (values.size() - 1) : 0.0;
    for (int i = 0; i < values.size(); ++i) {
        const double share = std::clamp((values[i] - low) / (high - low), 0.0, 1.0);
        const QPointF point(plot.left() + i * step, plot.bottom() - share * plot.height());
        if (i == 0)
            path.moveTo(point);
        else
            path.lineTo(point);
    }
    p.setPen(QPen(colour, qMax(1.0, plot.height() / 200.0)));
    p.setBrush(Qt::NoBrush);
    p.drawPath(path);
}

} // namespace

void drawChart(QPainter& p, const QRectF& area, const NucCorrectionReport& r, Chart chart)
{
    p.save();
    p.setRenderHint(QPainter::Antialiasing);
    p.fillRect(area, Qt::white);
    QFont font = p.font();
    font.setPixelSize(qMax(8, int(area.height() / 14)));
    p.setFont(font);
    const double text = font.pixelSize() * 1.4;
    const QRectF plot = area.adjusted(text * 0.5, text * 1.3, -text * 0.5, -text * 1.3);

    QVector<double> before, after;
    QString title, axis;
    double low = 0.0, high = 0.0;
    if (chart == Chart::Histogram) {
        before = r.before.histogram;
        after = r.after.histogram;
        title = tr("Histogram of the averaged frames");
        axis = tr("%1 to %2 grey levels")
                   .arg(r.histogramLow, 0, 'f', 1)
                   .arg(r.histogramHigh, 0, 'f', 1);
        for (double v : before + after)
            high = qMax(high, v);
    } else {
        const bool rows = chart == Chart::Rows;
        before = rows ? r.before.rows : r.before.columns;
        after = rows ? r.after.rows : r.after.columns;
        title = rows ? tr("Row means") : tr("Column means");
        const QVector<double> all = before + after;
        if (!all.isEmpty()) {
            low = *std::min_element(all.begin(), all.end());
            high = *std::max_element(all.begin(), all.end());
        }
        const double margin = qMax(0.5, (high - low) * 0.05);
        low -= margin;
        high += margin;
        axis = tr("%1 to %2 grey levels; %3 %4")
                   .arg(low, 0, 'f', 1)
                   .arg(high, 0, 'f', 1)
                   .arg(before.size())
                   .arg(rows ? tr("rows") : tr("columns"));
    }

    p.setPen(Qt::black);
    p.drawText(QRectF(area.left() + text * 0.5, area.top(), area.width(), text),
               Qt::AlignLeft | Qt::AlignVCenter, title);
    p.setPen(QPen(Qt::gray, 1));
    p.drawRect(plot);
    drawSeries(p, plot, before, low, high, BeforeColour);
    drawSeries(p, plot, after, low, high, AfterColour);

    const QRectF foot(area.left() + text * 0.5, area.bottom() - text, area.width() - text, text);
    p.setPen(Qt::black);
    p.drawText(foot, Qt::AlignLeft | Qt::AlignVCenter, axis);
    const QString legendBefore = tr("before"), legendAfter = tr("after");
    p.setPen(AfterColour);
    p.drawText(foot, Qt::AlignRight | Qt::AlignVCenter, legendAfter);
    p.setPen(BeforeColour);
    p.drawText(foot.adjusted(0, 0, -QFontMetricsF(font).horizontalAdvance(legendAfter + "  "), 0),
               Qt::AlignRight | Qt::AlignVCenter, legendBefore);
    p.restore();
}

QImage chartImage(const NucCorrectionReport& report, Chart chart, const QSize& size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    drawChart(painter, QRectF(QPointF(0, 0), QSizeF(size)), report, chart);
    return image;
}

void drawPage(QPainter& p, const QSizeF& page, const NucCorrectionReport& r)
{
    const double width = page.width();
    const double height = page.height();
    QFont font = p.font();
    font.setPixelSize(int(height / 60));
    QFont heading = font;
    heading.setPixelSize(int(height / 35));
    heading.setBold(true);

    double y = 0;
    p.setFont(heading);
    p.drawText(QRectF(0, y, width, heading.pixelSize() * 1.6), Qt::AlignLeft,
               tr("Correction report"));
    y += heading.pixelSize() * 2.0;
    p.setFont(font);
    const double line = font.pixelSize() * 1.5;
    const QStringList lines = QStringList{r.created.toString(Qt::ISODate)} + r.lines();
    for (const QString& text : lines) {
        const QRectF box =
            p.boundingRect(QRectF(0, y, width, line * 3), Qt::AlignLeft | Qt::TextWordWrap, text);
        p.drawText(box, Qt::AlignLeft | Qt::TextWordWrap, text);
        y += qMax(line, box.height() + font.pixelSize() * 0.3);
    }
    y += line;
    const double chartHeight = qMax(line * 4, (height - y) / 3.0 - line * 0.5);
    for (Chart chart : {Chart::Histogram, Chart::Rows, Chart::Columns}) {
        drawChart(p, QRectF(0, y, width, chartHeight), r, chart);
        y += chartHeight + line * 0.5;
    }
}

bool savePdf(const NucCorrectionReport& r, const QString& path, QString* error)
{
    // Text needs the font database, which only a GUI application has.
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        if (error)
            *error = QString("%1: %2").arg(path, tr("drawing a report needs a GUI application"));
        return false;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        if (error)
            *error = QString("%1: %2").arg(path, file.errorString());
        return false;
    }
    {
        QPdfWriter writer(&file);
        writer.setPageSize(QPageSize(QPageSize::A4));
        writer.setPageMargins(QMarginsF(15, 15, 15, 15), QPageLayout::Millimeter);
        writer.setResolution(300);
        writer.setTitle(tr("Correction report"));
        writer.setCreator(QCoreApplication::applicationName());
        QPainter painter(&writer);
        drawPage(painter, QSizeF(writer.width(), writer.height()), r);
    }
    if (!file.commit()) {
        if (error)
            *error = QString("%1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

} // namespace NucReportDocument
