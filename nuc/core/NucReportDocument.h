#pragma once

#include <QImage>
#include <QRectF>
#include <QSize>
#include <QSizeF>
#include <QString>

class NucCorrectionReport;
class QPainter;

// The pictures of a correction report and the report as a PDF page, drawn
// with QPainter so that the window and the PDF show the same charts.
namespace NucReportDocument {

enum class Chart
{
    Histogram, // pixels per grey level of the averaged frames, before and after
    Rows,      // row means, before and after
    Columns,   // column means, before and after
};

void drawChart(QPainter& painter, const QRectF& area, const NucCorrectionReport& report,
               Chart chart);
QImage chartImage(const NucCorrectionReport& report, Chart chart, const QSize& size);

// The report's page of the given size: the figures, notes and advice, and
// the three charts below them.
void drawPage(QPainter& painter, const QSizeF& page, const NucCorrectionReport& report);

// One A4 page: the figures, notes and advice, and the three charts. Written
// with Qt's PDF writer; path is replaced only once the document is whole.
bool savePdf(const NucCorrectionReport& report, const QString& path, QString* error = nullptr);

} // namespace NucReportDocument
