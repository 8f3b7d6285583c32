#include "OrxDoubleSpinBox.h"

#include "OrxBalloonTip.h"
#include "SpinBoxText.h"
#include "StringToDouble.h"

#include <QLineEdit>

OrxDoubleSpinBox::OrxDoubleSpinBox(QWidget* parent) : QDoubleSpinBox(parent)
{
    connect(this, &OrxDoubleSpinBox::editingFinished, this, &OrxDoubleSpinBox::_onEditingFinished);
    // Text the operator types starts without a pending correction: fixup
    // runs only on text the box does not accept, so an in-range value typed
    // after a correction would otherwise bring the balloon back.
    connect(lineEdit(), &QLineEdit::textEdited, this, [this] { m_corrected = false; });
}

QValidator::State OrxDoubleSpinBox::validate(QString& text, int& pos) const
{
    const QValidator::State state = QDoubleSpinBox::validate(text, pos);
    if (state != QValidator::Invalid)
        return state;

    // Out-of-range numbers and either decimal separator may be typed; fixup
    // turns them into a number in range in the box's own notation.
    const QString number = spinBoxNumber(text, prefix(), suffix()).text;
    bool ok = false;
    StringToDouble(number, &ok);
    if (ok || number == "-" || number == "." || number == ",")
        return QValidator::Intermediate;
    return QValidator::Invalid;
}

void OrxDoubleSpinBox::fixup(QString& text) const
{
    const SpinBoxNumber number = spinBoxNumber(text, prefix(), suffix());
    bool ok = false;
    const double typed = StringToDouble(number.text, &ok);
    if (!ok) {
        replaceSpinBoxNumber(text, number, QString::number(value(), 'g', 6));
        m_corrected = false;
    } else if (typed > maximum()) {
        replaceSpinBoxNumber(text, number, locale().toString(maximum(), 'g', 6));
        m_corrected = true;
    } else if (typed < minimum()) {
        replaceSpinBoxNumber(text, number, locale().toString(minimum(), 'g', 6));
        m_corrected = true;
    } else {
        replaceSpinBoxNumber(text, number, locale().toString(typed, 'g', 6));
        m_corrected = false;
    }
}

void OrxDoubleSpinBox::_onEditingFinished()
{
    if (!m_corrected)
        return;
    const QPoint corner(pos().x() + 5, pos().y() + height());
    const QPoint anchor = parentWidget() ? parentWidget()->mapToGlobal(corner) : corner;
    const QString message = tr("Minimum:%1").arg(minimum()) + tr(" Maximum:%1").arg(maximum());
    OrxBalloonTip::showBalloon(QSystemTrayIcon::Critical, tr("Invalid Value"), message, anchor,
                               true);
}
