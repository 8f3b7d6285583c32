#pragma once

#include <QString>

// Decides from a camera's model name whether the shading assistant supports
// the camera. On a match, family receives the key of the first matching model
// family and the result is true; otherwise family is cleared and the result is
// false. Safe to call from any thread, including the very first call.
bool IsCameraModelCompatible(const QString& model, QString& family);
