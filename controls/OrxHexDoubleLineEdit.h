#pragma once

#include <QLineEdit>

// Entry of a value typed either as "0x" with up to eight hexadecimal digits
// or as a decimal number with an optional fraction after a point.
class OrxHexDoubleLineEdit : public QLineEdit
{
    Q_OBJECT
public:
    explicit OrxHexDoubleLineEdit(QWidget* parent = nullptr);

    // Whether the text holds a hexadecimal number ("0x" in either case).
    bool isHex();
};
