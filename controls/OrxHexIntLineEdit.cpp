#include "OrxHexIntLineEdit.h"

#include "HexPatterns.h"

#include <QRegularExpression>
#include <QRegularExpressionValidator>

OrxHexIntLineEdit::OrxHexIntLineEdit(QWidget* parent) : QLineEdit(parent)
{
    setValidator(new QRegularExpressionValidator(
        QRegularExpression(QString::fromLatin1(HexPatterns::kHexOrDecimalInteger)), this));
}

bool OrxHexIntLineEdit::isHex()
{
    static const QRegularExpression hexRun(QString::fromLatin1(HexPatterns::kHexRun),
                                           QRegularExpression::CaseInsensitiveOption);
    return hexRun.match(text()).hasMatch();
}
