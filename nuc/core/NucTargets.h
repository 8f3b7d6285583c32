#pragma once

#include <QString>
#include <QtGlobal>

// The two generation targets as the operator types them. The panel falls back
// to the defaults on unparsable text, the command-line tool refuses it; both
// use the same conversions so the same text gives the same map.
namespace NucTargets {

constexpr float DefaultGain = 1.1f;
constexpr quint16 DefaultOffset = 16;
constexpr qint32 DefaultMapId = 8193;

// The fixed quantisation of a map word: the gain code's scale, the offset
// step in grey levels and the number of offset codes.
constexpr quint32 GainScale = 1024;
constexpr qint32 OffsetStep = 4;
constexpr quint32 OffsetLevels = 64;

inline float parseGain(const QString& text, bool* ok)
{
    return text.toFloat(ok);
}

inline quint16 parseOffset(const QString& text, bool* ok)
{
    return text.toUShort(ok, 10);
}

} // namespace NucTargets
