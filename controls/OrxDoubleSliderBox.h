#pragma once

#include <QWidget>

class OrxDoubleSpinBox;
class OrxSlider;

// A floating-point feature in one row: a slider (optionally logarithmic) and
// a double spin box kept in step. The slider works in whole units of
// 1/scale, the scale following from the single step.
class OrxDoubleSliderBox : public QWidget
{
    Q_OBJECT
public:
    explicit OrxDoubleSliderBox(QWidget* parent = nullptr, bool sliderFirst = false);

    // Set the single step first: the slider range depends on the scale.
    void setRange(double min, double max, double posMin, double posMax);
    void setValue(double value);
    void setKeyboardTracking(bool on);
    void setSingleStep(double step);
    void setSuffix(const QString& suffix);
    double minimum() const;
    double maximum() const;
    double value() const;

    bool eventFilter(QObject* watched, QEvent* event) override;

signals:
    void valueChanged(double value);
    // Focus left the box for good, unless a value was confirmed with Return
    // or Enter at some time before.
    void focusOut();
    // The operator let go of the slider (value in slider units, not divided
    // by the scale) or finished typing in the focused spin box (in value units).
    void SetValueFinished(double value);

private slots:
    void _onSliderValueChanged(int value);
    void _onDoubleSpinBoxChanged(double value);
    void _onSetValueFinished();

private:
    OrxDoubleSpinBox* m_spinBox = nullptr;
    OrxSlider* m_slider = nullptr;
    // Slider units per value unit.
    double m_scale = 1.0;
    // Cleared by Return or Enter and never set again: once the operator
    // confirms with the keyboard, leaving the box is no longer reported.
    bool m_focusOut = true;
};
