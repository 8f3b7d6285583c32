#pragma once

#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>

// The row both slider boxes share: a fixed height of 22 pixels, slider and
// spin box side by side in the requested order, focus entering at the first.
inline void layOutSliderBox(QWidget* box, QAbstractSlider* slider, QAbstractSpinBox* spinBox,
                            bool sliderFirst)
{
    box->setAutoFillBackground(true);
    const QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    box->setSizePolicy(policy);
    box->setMinimumSize(0, 22);
    box->setMaximumSize(16777215, 22);
    for (QWidget* child : {static_cast<QWidget*>(spinBox), static_cast<QWidget*>(slider)}) {
        child->setSizePolicy(policy);
        child->setMinimumWidth(60);
        child->installEventFilter(box);
        child->setFocusPolicy(Qt::StrongFocus);
    }

    auto* layout = new QHBoxLayout(box);
    layout->setContentsMargins(0, 0, 2, 0);
    layout->setSpacing(6);
    if (sliderFirst) {
        layout->addWidget(slider);
        layout->addWidget(spinBox);
        QWidget::setTabOrder(slider, spinBox);
        box->setFocusProxy(slider);
    } else {
        layout->addWidget(spinBox);
        layout->addWidget(slider);
        QWidget::setTabOrder(spinBox, slider);
        box->setFocusProxy(spinBox);
    }
}

// The focus-out rule of both slider boxes: Return or Enter on either part
// clears the flag; losing focus to somewhere outside the box reports it while
// the flag is still set. Returns true when focusOut() is to be emitted.
inline bool sliderBoxFocusEvent(QEvent* event, bool& focusOutFlag, const QWidget* slider,
                                const QWidget* spinBox)
{
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter)
            focusOutFlag = false;
    } else if (event->type() == QEvent::FocusOut) {
        return !slider->hasFocus() && !spinBox->hasFocus() && focusOutFlag;
    }
    return false;
}
