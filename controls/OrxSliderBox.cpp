#include "OrxSliderBox.h"

#include "OrxSpinBox.h"
#include "SliderBoxLayout.h"

#include <QSlider>

OrxSliderBox::OrxSliderBox(QWidget* parent, bool sliderFirst) : QWidget(parent)
{
    // Made in the order they sit in the row, so that the focus chain holds
    // them in that order; setTabOrder alone leaves the chain unchanged while
    // the box is the last thing in its window that takes focus.
    if (sliderFirst) {
        m_slider = new QSlider(Qt::Horizontal, this);
        m_spinBox = new OrxSpinBox(this);
    } else {
        m_spinBox = new OrxSpinBox(this);
        m_slider = new QSlider(Qt::Horizontal, this);
    }
    layOutSliderBox(this, m_slider, m_spinBox, sliderFirst);
    setSingleStep(1);
    connect(m_slider, &QSlider::valueChanged, this, &OrxSliderBox::_onSliderValueChanged);
    connect(m_spinBox, QOverload<int>::of(&OrxSpinBox::valueChanged), this,
            &OrxSliderBox::_onSpinBoxChanged);
}

void OrxSliderBox::setRange(int min, int max)
{
    m_spinBox->setRange(min, max);
    m_slider->setRange(min, max);
}

void OrxSliderBox::setValue(int value)
{
    m_spinBox->setValue(value);
}

void OrxSliderBox::setKeyboardTracking(bool on)
{
    m_spinBox->setKeyboardTracking(on);
}

void OrxSliderBox::setSingleStep(int step)
{
    m_slider->setSingleStep(step);
    m_spinBox->setSingleStep(step);
}

void OrxSliderBox::setSuffix(const QString& suffix)
{
    m_spinBox->setSuffix(suffix);
}

int OrxSliderBox::minimum() const
{
    return m_spinBox->minimum();
}

int OrxSliderBox::maximum() const
{
    return m_spinBox->maximum();
}

int OrxSliderBox::value() const
{
    return m_spinBox->value();
}

void OrxSliderBox::_onSliderValueChanged(int position)
{
    // Nearest point of the step grid counted from the minimum.
    const int min = m_slider->minimum();
    const int step = m_slider->singleStep();
    const int snapped = step == 0 ? min : min + ((position - min + step / 2) / step) * step;
    m_spinBox->setValue(snapped);
}

void OrxSliderBox::_onSpinBoxChanged(int value)
{
    const bool blocked = m_slider->blockSignals(true);
    m_slider->setValue(value);
    m_slider->blockSignals(blocked);
    emit valueChanged(value);
}

bool OrxSliderBox::eventFilter(QObject* watched, QEvent* event)
{
    if ((watched == m_slider || watched == m_spinBox) &&
        sliderBoxFocusEvent(event, m_focusOut, m_slider, m_spinBox))
        emit focusOut();
    return QWidget::eventFilter(watched, event);
}
