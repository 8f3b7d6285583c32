#pragma once

#include "NucCorrectionReport.h"

#include <QWidget>

#include <functional>

// A correction report on screen: the figures, notes and advice, the
// histograms and the row and column profiles before and after; it saves the
// report as PDF or JSON through the dialog seam.
class OrxCorrectionReportWindow : public QWidget
{
    Q_OBJECT

public:
    explicit OrxCorrectionReportWindow(const NucCorrectionReport& report,
                                       QWidget* parent = nullptr);

    const NucCorrectionReport& report() const { return m_report; }

public slots:
    void savePdf();
    void saveJson();

private:
    // Asks for a file (filter, suffix) and writes it with save; tells how it went.
    void save(const QString& caption, const QString& filter, const QString& suffix,
              const std::function<bool(const QString&, QString*)>& write);

    NucCorrectionReport m_report;
    QString m_lastFolder;
};
