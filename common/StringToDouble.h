#pragma once

class QString;

// Reads a number the way operators type it on the camera side: German first
// (decimal comma, so "1,5" is 1.5 and "1.500" is 1500), English second (so
// "1.5" is 1.5 as well). Returns 0.0 and sets *ok to false when neither
// reads the text; ok may be null.
double StringToDouble(const QString& text, bool* ok);
