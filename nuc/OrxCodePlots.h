#pragma once

#include <QVector>
#include <QWidget>

// The colour scale the map view paints codes with: dark blue for code 0 over
// green to yellow for the top code, distinct in grey print too.
QVector<QRgb> mapCodeColours();

// A horizontal bar from the colour of code 0 to that of the top code, with
// both codes written under its ends.
class OrxColourBar : public QWidget
{
    Q_OBJECT

public:
    OrxColourBar(quint32 top, QWidget* parent = nullptr);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    quint32 m_top;
};

// How many pixels have each code from 0 to top, as bars in the colours of the
// scale on a logarithmic count axis; the two clamped codes (0 and top) are drawn red, as the codes
// where the map could not give a pixel what it needed.
class OrxCodeHistogram : public QWidget
{
    Q_OBJECT

public:
    OrxCodeHistogram(quint32 top, QWidget* parent = nullptr);
    void setCounts(const QVector<quint32>& counts);
    const QVector<quint32>& counts() const { return m_counts; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    quint32 m_top;
    QVector<quint32> m_counts;
};
