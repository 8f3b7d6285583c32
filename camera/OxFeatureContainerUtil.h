#pragma once

#include "StringToDouble.h"

#include <HvTypes.h>
#include <Hvx/EnumEntry.h>
#include <Hvx/SharedPointers.h>

#include <QVariant>

#include <cstdint>
#include <memory>
#include <vector>

// Reading and writing GenICam features by name through toolkit variants.
// Two families with the same type mapping: one on an SDK container object
// (camera, stream, interface), one on a raw container handle through the
// flat API. Every operation returns the SDK result code (0 = success) and
// reports nothing else.
//
// Type mapping (feature data type -> variant on get; conversion on set):
//   1 integer      -> long long      ; toLongLong
//   2 float        -> double         ; toDouble
//   3 enumeration  -> entry name     ; int variant: entry value, string: entry name,
//                                      anything else rejected
//   5 boolean      -> bool           ; toBool
//   4 and others   -> text (UTF-8)   ; toString
//   0              -> rejected both ways
//
// Set takes the variant's own conversion (toDouble for floats); callers
// that start from text an operator typed parse it with StringToDouble
// (decimal comma first, then decimal point) before handing it over.
class OxFeatureContainerUtil
{
public:
    using Container = std::shared_ptr<Hvx::FeatureContainer>;

    static HvErrorType GetFeatureValue(const Container& container, const char* name,
                                       QVariant& value);
    static HvErrorType SetFeatureValue(const Container& container, const char* name,
                                       const QVariant& value);
    static HvErrorType GetFeatureValueEnum(const Container& container, const char* name,
                                           QVariant& value);
    static HvErrorType SetFeatureValueEnum(const Container& container, const char* name,
                                           QVariant& value);
    static HvErrorType GetFeatureRange(const Container& container, const char* name, QVariant& min,
                                       QVariant& max, QVariant& increment);
    // The entries of an enumeration that the camera offers right now.
    static HvErrorType GetSubFeatures(const Container& container, const char* name,
                                      std::vector<Hvx::EnumEntry>* entries);
    // Raw access to the first `size` bytes of a register feature. The get
    // resizes `bytes` to `size`; the set needs at least `size` bytes.
    static HvErrorType GetFeatureRegister(const Container& container, const char* name,
                                          std::vector<uint8_t>& bytes, int size);
    static HvErrorType SetFeatureRegister(const Container& container, const char* name,
                                          const std::vector<uint8_t>& bytes, int size);
    // Runs a command; with a non-zero timeout (ms) waits for its completion,
    // asking every 2 seconds.
    static HvErrorType SetFeatureCommand(const Container& container, const char* name,
                                         uint64_t timeoutMs);
    static HvErrorType HasFeature(const Container& container, const char* name, bool& result);
    static HvErrorType IsReadable(const Container& container, const char* name, bool& result);
    static HvErrorType IsWritable(const Container& container, const char* name, bool& result);

    // The same on a raw handle (Hvx::FeatureContainer::GetHandle()).
    static HvErrorType GetFeatureValue(HvHandle handle, const char* name, QVariant& value);
    static HvErrorType SetFeatureValue(HvHandle handle, const char* name, const QVariant& value);
    static HvErrorType GetFeatureValueEnum(HvHandle handle, const char* name, QVariant& value);
    static HvErrorType SetFeatureValueEnum(HvHandle handle, const char* name, QVariant& value);
    static HvErrorType SetFeatureCommand(HvHandle handle, const char* name, uint64_t timeoutMs);

    // How long a command wait sleeps between two questions to the camera.
    static constexpr int kCommandPollMs = 2000;
};
