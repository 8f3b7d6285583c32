#pragma once

#include <QWidget>

class OrxSpinBox;
class QSlider;

// An integer feature in one row: a slider and a spin box kept in step. The
// spin box holds the value; the slider snaps to the step grid.
class OrxSliderBox : public QWidget
{
    Q_OBJECT
public:
    explicit OrxSliderBox(QWidget* parent = nullptr, bool sliderFirst = false);

    void setRange(int min, int max);
    void setValue(int value);
    void setKeyboardTracking(bool on);
    void setSingleStep(int step);
    void setSuffix(const QString& suffix);
    int minimum() const;
    int maximum() const;
    int value() const;

    bool eventFilter(QObject* watched, QEvent* event) override;

signals:
    void valueChanged(int value);
    // Focus left the box for good, unless a value was confirmed with Return
    // or Enter at some time before.
    void focusOut();

private slots:
    void _onSliderValueChanged(int position);
    void _onSpinBoxChanged(int value);

private:
    OrxSpinBox* m_spinBox = nullptr;
    QSlider* m_slider = nullptr;
    // Cleared by Return or Enter and never set again: once the operator
    // confirms with the keyboard, leaving the box is no longer reported.
    bool m_focusOut = true;
};
