#include "OrxDoubleSliderBox.h"

#include "OrxDoubleSpinBox.h"
#include "OrxSlider.h"
#include "SliderBoxLayout.h"

#include <cmath>

OrxDoubleSliderBox::OrxDoubleSliderBox(QWidget* parent, bool sliderFirst) : QWidget(parent)
{
    // Made in the order they sit in the row, so that the focus chain holds
    // them in that order; setTabOrder alone leaves the chain unchanged while
    // the box is the last thing in its window that takes focus.
    if (sliderFirst) {
        m_slider = new OrxSlider(Qt::Horizontal, this);
        m_spinBox = new OrxDoubleSpinBox(this);
    } else {
        m_spinBox = new OrxDoubleSpinBox(this);
        m_slider = new OrxSlider(Qt::Horizontal, this);
    }
    layOutSliderBox(this, m_slider, m_spinBox, sliderFirst);
    setSingleStep(1.0);
    connect(m_slider, &OrxSlider::ValueChanged, this, &OrxDoubleSliderBox::_onSliderValueChanged);
    connect(m_slider, &OrxSlider::sliderReleased, this, &OrxDoubleSliderBox::_onSetValueFinished);
    connect(m_spinBox, &OrxDoubleSpinBox::editingFinished, this,
            &OrxDoubleSliderBox::_onSetValueFinished);
    connect(m_spinBox, QOverload<double>::of(&OrxDoubleSpinBox::valueChanged), this,
            &OrxDoubleSliderBox::_onDoubleSpinBoxChanged);
}

void OrxDoubleSliderBox::setRange(double min, double max, double posMin, double posMax)
{
    m_slider->SetRange(int(std::lround(m_scale * min)), int(std::lround(m_scale * max)),
                       int(posMin), int(posMax));
    m_spinBox->setRange(min, max);
}

void OrxDoubleSliderBox::setValue(double value)
{
    m_spinBox->setValue(value);
}

void OrxDoubleSliderBox::setKeyboardTracking(bool on)
{
    m_spinBox->setKeyboardTracking(on);
}

void OrxDoubleSliderBox::setSingleStep(double step)
{
    if (step == 0.0) {
        m_scale = 100.0;
        m_spinBox->setSingleStep(0.01);
    } else {
        m_scale = std::round(1.0 / step);
        if (m_scale == 0.0)
            m_scale = 1.0;
        m_spinBox->setSingleStep(step);
    }
    m_slider->SetSingleStep(1);
}

void OrxDoubleSliderBox::setSuffix(const QString& suffix)
{
    m_spinBox->setSuffix(suffix);
}

double OrxDoubleSliderBox::minimum() const
{
    return m_spinBox->minimum();
}

double OrxDoubleSliderBox::maximum() const
{
    return m_spinBox->maximum();
}

double OrxDoubleSliderBox::value() const
{
    return m_spinBox->value();
}

void OrxDoubleSliderBox::_onSliderValueChanged(int value)
{
    const int min = m_slider->minimum();
    const int step = m_slider->singleStep();
    const int snapped = step == 0 ? min : min + ((value - min + step / 2) / step) * step;
    m_spinBox->setValue(snapped / m_scale);
}

void OrxDoubleSliderBox::_onDoubleSpinBoxChanged(double value)
{
    const bool blocked = m_slider->blockSignals(true);
    m_slider->SetValue(int(std::lround(value * m_scale)));
    m_slider->blockSignals(blocked);
    emit valueChanged(value);
}

void OrxDoubleSliderBox::_onSetValueFinished()
{
    QObject* origin = sender();
    if (!origin)
        return;
    const QByteArray className = origin->metaObject()->className();
    if (className == "OrxSlider") {
        // Reported in slider units; receivers of the slider path expect them.
        emit SetValueFinished(double(m_slider->GetValue()));
    } else if (className == "OrxDoubleSpinBox") {
        auto* widget = qobject_cast<QWidget*>(origin);
        if (widget && widget->hasFocus())
            emit SetValueFinished(m_spinBox->value());
    }
}

bool OrxDoubleSliderBox::eventFilter(QObject* watched, QEvent* event)
{
    if ((watched == m_slider || watched == m_spinBox) &&
        sliderBoxFocusEvent(event, m_focusOut, m_slider, m_spinBox))
        emit focusOut();
    return QWidget::eventFilter(watched, event);
}
