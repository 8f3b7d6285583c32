#pragma once

#include <QString>

// Where the number sits in a spin box text: between the prefix and the
// suffix (each only when present), without surrounding blanks. The spin
// boxes read the number from here and write corrections back into it.
struct SpinBoxNumber
{
    int start = 0;
    int length = 0;
    QString text;
};

inline SpinBoxNumber spinBoxNumber(const QString& text, const QString& prefix,
                                   const QString& suffix)
{
    int start = 0;
    int end = text.size();
    if (!prefix.isEmpty() && text.startsWith(prefix))
        start = prefix.size();
    if (!suffix.isEmpty() && text.endsWith(suffix) && end - suffix.size() >= start)
        end -= suffix.size();
    while (start < end && text.at(start).isSpace())
        ++start;
    while (end > start && text.at(end - 1).isSpace())
        --end;
    return {start, end - start, text.mid(start, end - start)};
}

// Replaces the number of text with replacement, keeping prefix and suffix.
inline void replaceSpinBoxNumber(QString& text, const SpinBoxNumber& number,
                                 const QString& replacement)
{
    text.replace(number.start, number.length, replacement);
}
