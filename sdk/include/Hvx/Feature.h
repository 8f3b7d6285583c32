#ifndef HVX_FEATURE_H
#define HVX_FEATURE_H

#include "HvExport.h"
#include "HvTypes.h"
#include "Hvx/EnumEntry.h"
#include "Hvx/SharedPointers.h"

#include <cstdint>
#include <string>

namespace Hvx {

// One named feature of a camera, stream or interface. The object is a light
// reference: every call goes to the transport layer, so values, ranges and
// access flags are always current. On a camera that has been closed every
// call gives HvErrorDeviceNotOpen.
//
// Texts are read in two calls: with a null buffer `length` receives the number
// of characters WITHOUT the terminating NUL; then pass a buffer of length + 1
// bytes and the same `length`. A smaller `length` gives HvErrorMoreData and
// sets it to the needed count; on success `length` is the number of characters.
//
// Typed calls on a feature of another type give HvErrorWrongType; reading a
// write-only or writing a read-only feature gives HvErrorInvalidAccess; values
// outside the range, off the increment, or unavailable enumeration entries
// give HvErrorInvalidValue.
class HVX_API Feature
{
public:
    Feature(std::shared_ptr<Internal::FeatureSource> source, const char* name);
    ~Feature();
    Feature(const Feature&) = delete;
    Feature& operator=(const Feature&) = delete;

    HvErrorType GetName(char* name, unsigned int& length) const;
    HvErrorType GetDataType(HvFeatureDataType& dataType) const;
    HvErrorType GetFlags(HvFeatureFlags& flags) const;
    HvErrorType IsReadable(bool& readable) const;
    HvErrorType IsWritable(bool& writable) const;

    // Integer (HvFeatureDataInt).
    HvErrorType GetIntValue(int64_t& value) const;
    HvErrorType SetIntValue(int64_t value);
    HvErrorType GetIntRange(int64_t& minimum, int64_t& maximum) const;
    HvErrorType GetIntIncrement(int64_t& increment) const;

    // Floating point (HvFeatureDataFloat). An increment of 0 means continuous.
    HvErrorType GetFloatValue(double& value) const;
    HvErrorType SetFloatValue(double value);
    HvErrorType GetFloatRange(double& minimum, double& maximum) const;
    HvErrorType GetFloatIncrement(double& increment) const;

    // Enumeration (HvFeatureDataEnum): the current entry by name or by its
    // integer value; the entries in the camera's order (count-then-array, as
    // HvSystem::GetCameras); availability of an entry right now.
    HvErrorType GetEnumValue(char* entry, unsigned int& length) const;
    HvErrorType GetEnumIntValue(int64_t& value) const;
    HvErrorType SetEnumValue(const char* entry);
    HvErrorType SetEnumIntValue(int64_t value);
    HvErrorType GetEntries(EnumEntry* entries, unsigned int& count) const;
    HvErrorType IsValueAvailable(const char* entry, bool& available) const;
    HvErrorType IsValueAvailable(int64_t value, bool& available) const;

    // String (HvFeatureDataString), UTF-8.
    HvErrorType GetStringValue(char* value, unsigned int& length) const;
    HvErrorType SetStringValue(const char* value);

    // Boolean (HvFeatureDataBool).
    HvErrorType GetBoolValue(bool& value) const;
    HvErrorType SetBoolValue(bool value);

    // Command (HvFeatureDataCommand): RunCommand starts it; IsCommandDone
    // tells whether the camera has finished it.
    HvErrorType RunCommand();
    HvErrorType IsCommandDone(bool& done) const;

    // Register (HvFeatureDataRaw): the register's length, and access to its
    // first `size` bytes (size may be smaller than the length, not larger).
    HvErrorType GetRegisterLength(int64_t& length) const;
    HvErrorType GetRegister(unsigned char* buffer, unsigned int size) const;
    HvErrorType SetRegister(const unsigned char* buffer, unsigned int size);

private:
    std::shared_ptr<Internal::FeatureSource> m_source;
    std::string m_name;
};

} // namespace Hvx

#endif
