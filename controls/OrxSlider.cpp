#include "OrxSlider.h"

#include <cmath>

OrxSlider::OrxSlider(Qt::Orientation orientation, QWidget* parent) : QSlider(orientation, parent)
{
    connect(this, &QSlider::valueChanged, this, &OrxSlider::_onSliderValueChanged);
}

void OrxSlider::SetRange(int min, int max, int posMin, int posMax)
{
    m_valueMin = min;
    m_valueMax = max;
    m_posMin = posMin;
    m_posMax = posMax;
    if (isLogarithmic())
        setRange(posMin, posMax);
    else
        setRange(min, max);
}

double OrxSlider::logStep() const
{
    return (std::log(double(m_valueMax)) - std::log(double(m_valueMin))) /
           double(m_posMax - m_posMin);
}

void OrxSlider::SetValue(int value)
{
    if (!isLogarithmic()) {
        setValue(value);
        return;
    }
    const double position =
        (std::log(double(value)) - std::log(double(m_valueMin))) / logStep() + m_posMin;
    setValue(int(std::lround(position)));
}

int OrxSlider::GetValue()
{
    if (!isLogarithmic())
        return value();
    return int(std::lround(
        std::exp(logStep() * double(value() - m_posMin) + std::log(double(m_valueMin)))));
}

void OrxSlider::SetSingleStep(int step)
{
    // One position is the finest step the logarithmic scale has.
    setSingleStep(isLogarithmic() ? 1 : step);
}

int OrxSlider::Minimum()
{
    return m_valueMin;
}

int OrxSlider::Maximum()
{
    return m_valueMax;
}

void OrxSlider::_onSliderValueChanged(int)
{
    emit ValueChanged(GetValue());
}
