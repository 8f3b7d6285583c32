#pragma once

#include <QSpinBox>

// An integer box that corrects an out-of-range number to the nearest limit
// instead of refusing it, and then tells the operator the allowed range in a
// balloon tip below the box.
class OrxSpinBox : public QSpinBox
{
    Q_OBJECT
public:
    explicit OrxSpinBox(QWidget* parent = nullptr);

    QValidator::State validate(QString& text, int& pos) const override;
    void fixup(QString& text) const override;

private slots:
    void _onEditingFinished();

private:
    // Set by fixup when it had to clamp; read when editing finishes.
    mutable bool m_corrected = false;
};
