#pragma once

#include <QLineEdit>

// Entry of an integer register value, typed either as "0x" with up to eight
// hexadecimal digits or as a plain decimal number.
class OrxHexIntLineEdit : public QLineEdit
{
    Q_OBJECT
public:
    explicit OrxHexIntLineEdit(QWidget* parent = nullptr);

    // Whether the text holds a hexadecimal number ("0x" in either case).
    bool isHex();
};
