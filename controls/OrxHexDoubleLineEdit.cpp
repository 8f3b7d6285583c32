#include "OrxHexDoubleLineEdit.h"

#include "HexPatterns.h"

#include <QRegularExpression>
#include <QRegularExpressionValidator>

OrxHexDoubleLineEdit::OrxHexDoubleLineEdit(QWidget* parent) : QLineEdit(parent)
{
    setValidator(new QRegularExpressionValidator(
        QRegularExpression(QString::fromLatin1(HexPatterns::kHexOrDecimalFraction)), this));
}

bool OrxHexDoubleLineEdit::isHex()
{
    static const QRegularExpression hexRun(QString::fromLatin1(HexPatterns::kHexRun),
                                           QRegularExpression::CaseInsensitiveOption);
    return hexRun.match(text()).hasMatch();
}
