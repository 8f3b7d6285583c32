#pragma once

#include <QSlider>

// A slider that can spread a value range over its positions logarithmically,
// for features such as exposure time whose useful values span decades.
// Logarithmic mode is on when a position range is given (either end non-zero);
// values are then only defined above zero.
class OrxSlider : public QSlider
{
    Q_OBJECT
public:
    explicit OrxSlider(Qt::Orientation orientation, QWidget* parent = nullptr);

    void SetRange(int min, int max, int posMin, int posMax);
    void SetValue(int value);
    int GetValue();
    void SetSingleStep(int step);
    int Minimum();
    int Maximum();

signals:
    // The value (not the position) after every change of the position.
    void ValueChanged(int value);

private slots:
    void _onSliderValueChanged(int position);

private:
    bool isLogarithmic() const { return m_posMin != 0 || m_posMax != 0; }
    // ln of the value per position step.
    double logStep() const;

    int m_valueMin = 0;
    int m_valueMax = 0;
    int m_posMin = 0;
    int m_posMax = 0;
};
