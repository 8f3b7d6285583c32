#pragma once

#include "NucMapStatistics.h"

#include <QImage>
#include <QStringList>
#include <QVector>
#include <QWidget>

class OrxCodeHistogram;
class QLabel;
class QScrollArea;

// A packed map made visible, before it goes to a camera or after it came
// from one: the gain-code and offset-code images in a colour scale with
// zoom, the histograms of both codes, the statistics orvex-nuc info prints
// and the warnings where the map cannot be what the operator wanted. A
// window of its own, not modal: the operator keeps working beside it.
class OrxMapView : public QWidget
{
    Q_OBJECT

public:
    explicit OrxMapView(QWidget* parent = nullptr);

    // Shows width x height words (gain code in bits 0-9, offset code in bits
    // 10-15); source says where the map comes from. moreWarnings are shown
    // after the map's own (e.g. a bright mean near saturation).
    void setMap(const QVector<quint16>& words, quint32 width, quint32 height, const QString& source,
                const QStringList& moreWarnings = QStringList());
    // Shows a .bin or .ge3 map file; false with what is wrong in *error.
    bool openFile(const QString& path, QString* error);

    const NucMapStatistics& statistics() const { return m_statistics; }
    QStringList warnings() const { return m_warnings; }

    // Screen pixels per map pixel; fitting follows the window's size.
    double zoom() const { return m_zoom; }
    void setZoom(double zoom);
    void zoomToFit();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Pane
    {
        QScrollArea* scroll;
        QLabel* image;
        OrxCodeHistogram* histogram;
        QLabel* statistics;
        QImage codes;
    };
    QWidget* buildPane(Pane& pane, const QString& title, quint32 top, const QString& name);
    void showZoomed();

    QLabel* m_source;
    QLabel* m_zoomText;
    QLabel* m_warningText;
    Pane m_gain{};
    Pane m_offset{};
    NucMapStatistics m_statistics;
    QStringList m_warnings;
    double m_zoom = 1.0;
    bool m_fit = true;
};
