#pragma once

#include <QDoubleSpinBox>

// The double counterpart of OrxSpinBox. Typed numbers are read with a decimal
// comma or a decimal point alike.
class OrxDoubleSpinBox : public QDoubleSpinBox
{
    Q_OBJECT
public:
    explicit OrxDoubleSpinBox(QWidget* parent = nullptr);

    QValidator::State validate(QString& text, int& pos) const override;
    void fixup(QString& text) const override;

private slots:
    void _onEditingFinished();

private:
    // Set by fixup when it had to clamp; read when editing finishes.
    mutable bool m_corrected = false;
};
