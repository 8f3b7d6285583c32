#pragma once

#include <QComboBox>

// The combo box of the feature forms: a type of its own, so that style sheets
// and form code can tell it from other combo boxes.
class OrxComboBox : public QComboBox
{
    Q_OBJECT
public:
    explicit OrxComboBox(QWidget* parent = nullptr) : QComboBox(parent) {}
};
