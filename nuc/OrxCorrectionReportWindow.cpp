#include "OrxCorrectionReportWindow.h"

#include "NucReportDocument.h"
#include "OrxDialogs.h"
#include "OrxPixmapLabel.h"

#include <QDir>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

OrxCorrectionReportWindow::OrxCorrectionReportWindow(const NucCorrectionReport& report,
                                                     QWidget* parent)
    : QWidget(parent, Qt::Window), m_report(report), m_lastFolder(QDir::homePath())
{
    setWindowTitle(tr("Correction Report"));
    auto* layout = new QVBoxLayout(this);
    auto* figures = new QLabel(m_report.lines().join('\n'), this);
    figures->setObjectName("lblFigures");
    figures->setTextInteractionFlags(Qt::TextSelectableByMouse);
    figures->setWordWrap(true);
    layout->addWidget(figures);
    using Chart = NucReportDocument::Chart;
    const struct
    {
        Chart chart;
        const char* name;
    } charts[] = {{Chart::Histogram, "lblHistogram"},
                  {Chart::Rows, "lblRowProfile"},
                  {Chart::Columns, "lblColumnProfile"}};
    for (const auto& c : charts) {
        auto* label = new OrxPixmapLabel(this);
        label->setObjectName(c.name);
        label->setMinimumSize(320, 110);
        label->setImage(NucReportDocument::chartImage(m_report, c.chart, QSize(900, 300)));
        layout->addWidget(label, 1);
    }
    auto* buttons = new QHBoxLayout;
    auto* pdf = new QPushButton(tr("Save PDF..."), this);
    pdf->setObjectName("btnSavePdf");
    auto* json = new QPushButton(tr("Save JSON..."), this);
    json->setObjectName("btnSaveJson");
    auto* close = new QPushButton(tr("Close"), this);
    buttons->addStretch();
    buttons->addWidget(pdf);
    buttons->addWidget(json);
    buttons->addWidget(close);
    layout->addLayout(buttons);
    connect(pdf, &QPushButton::clicked, this, &OrxCorrectionReportWindow::savePdf);
    connect(json, &QPushButton::clicked, this, &OrxCorrectionReportWindow::saveJson);
    connect(close, &QPushButton::clicked, this, &QWidget::close);
}

void OrxCorrectionReportWindow::savePdf()
{
    save(tr("Save Report as PDF"), tr("PDF (*.pdf)"), ".pdf",
         [this](const QString& path, QString* error) {
             return NucReportDocument::savePdf(m_report, path, error);
         });
}

void OrxCorrectionReportWindow::saveJson()
{
    save(tr("Save Report as JSON"), tr("JSON (*.json)"), ".json",
         [this](const QString& path, QString* error) { return m_report.saveJson(path, error); });
}

void OrxCorrectionReportWindow::save(const QString& caption, const QString& filter,
                                     const QString& suffix,
                                     const std::function<bool(const QString&, QString*)>& write)
{
    QString path = OrxDialogs::instance().getSaveFileName(this, caption, m_lastFolder, filter);
    if (path.isEmpty())
        return;
    if (!path.endsWith(suffix, Qt::CaseInsensitive))
        path += suffix;
    m_lastFolder = QFileInfo(path).absolutePath();
    QString error;
    if (write(path, &error))
        OrxDialogs::instance().information(this, tr("Save Report"),
                                           tr("Report saved to %1.").arg(path));
    else
        OrxDialogs::instance().critical(this, tr("Save Report"),
                                        tr("The report could not be saved: %1").arg(error));
}
