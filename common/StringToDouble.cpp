#include "StringToDouble.h"

#include <QLocale>
#include <QString>

double StringToDouble(const QString& text, bool* ok)
{
    bool parsed = false;
    double value = QLocale(QLocale::German).toDouble(text, &parsed);
    if (!parsed)
        value = QLocale(QLocale::English).toDouble(text, &parsed);
    if (!parsed)
        value = 0.0;
    if (ok)
        *ok = parsed;
    return value;
}
