#include "OrxSpinBox.h"

#include "OrxBalloonTip.h"
#include "SpinBoxText.h"

#include <QLineEdit>

OrxSpinBox::OrxSpinBox(QWidget* parent) : QSpinBox(parent)
{
    connect(this, &OrxSpinBox::editingFinished, this, &OrxSpinBox::_onEditingFinished);
    // Text the operator types starts without a pending correction: fixup
    // runs only on text the box does not accept, so an in-range value typed
    // after a correction would otherwise bring the balloon back.
    connect(lineEdit(), &QLineEdit::textEdited, this, [this] { m_corrected = false; });
}

QValidator::State OrxSpinBox::validate(QString& text, int& pos) const
{
    const QValidator::State state = QSpinBox::validate(text, pos);
    if (state != QValidator::Invalid)
        return state;

    // Out-of-range numbers may be typed; fixup brings them into range.
    const QString number = spinBoxNumber(text, prefix(), suffix()).text;
    bool ok = false;
    number.toInt(&ok, 10);
    if (ok || number == "-")
        return QValidator::Intermediate;
    return QValidator::Invalid;
}

void OrxSpinBox::fixup(QString& text) const
{
    const SpinBoxNumber number = spinBoxNumber(text, prefix(), suffix());
    bool ok = false;
    const int typed = number.text.toInt(&ok, 10);
    if (!ok) {
        replaceSpinBoxNumber(text, number, QString::number(value()));
        m_corrected = false;
    } else if (typed > maximum()) {
        replaceSpinBoxNumber(text, number, QString::number(maximum()));
        m_corrected = true;
    } else if (typed < minimum()) {
        replaceSpinBoxNumber(text, number, QString::number(minimum()));
        m_corrected = true;
    } else {
        m_corrected = false;
    }
}

void OrxSpinBox::_onEditingFinished()
{
    if (!m_corrected)
        return;
    const QPoint corner(pos().x() + 5, pos().y() + height());
    const QPoint anchor = parentWidget() ? parentWidget()->mapToGlobal(corner) : corner;
    const QString message = tr("Minimum:%1").arg(minimum()) + tr(" Maximum:%1").arg(maximum());
    OrxBalloonTip::showBalloon(QSystemTrayIcon::Critical, tr("Invalid Value"), message, anchor,
                               true);
}
