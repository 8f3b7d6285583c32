#pragma once

#include "DeviceThread.h"

#include <Hvx/TransportLayerModule.h>

#include <arv.h>

namespace hvaravis {

// The GenICam features of one opened Aravis device. Every call runs on the
// device's thread. Aravis checks ranges and register access itself (switched
// on when the device is opened); increments, available enumeration entries
// and string lengths are checked here. Commands are waited for briefly after
// they run, by reading the register they write until it no longer holds the
// command's value, because Aravis 0.8 does not evaluate pIsDone.
class AravisFeatureMap : public Hvx::Tl::IFeatureMap
{
public:
    AravisFeatureMap(DeviceThread& thread, ArvDevice*& device) : m_thread(thread), m_device(device)
    {
    }

    std::vector<std::string> FeatureNames() override;
    HvErrorType GetFeatureInfo(const std::string& name, Hvx::Tl::FeatureInfo& info) override;

    HvErrorType GetInt(const std::string& name, int64_t& value) override;
    HvErrorType SetInt(const std::string& name, int64_t value) override;
    HvErrorType GetIntRange(const std::string& name, int64_t& minimum, int64_t& maximum,
                            int64_t& increment) override;
    HvErrorType GetFloat(const std::string& name, double& value) override;
    HvErrorType SetFloat(const std::string& name, double value) override;
    HvErrorType GetFloatRange(const std::string& name, double& minimum, double& maximum,
                              double& increment) override;
    HvErrorType GetEnum(const std::string& name, std::string& entry) override;
    HvErrorType SetEnum(const std::string& name, const std::string& entry) override;
    HvErrorType GetEnumEntries(const std::string& name,
                               std::vector<Hvx::Tl::EnumEntryInfo>& entries) override;
    HvErrorType GetString(const std::string& name, std::string& value) override;
    HvErrorType SetString(const std::string& name, const std::string& value) override;
    HvErrorType GetBool(const std::string& name, bool& value) override;
    HvErrorType SetBool(const std::string& name, bool value) override;
    HvErrorType RunCommand(const std::string& name) override;
    HvErrorType IsCommandDone(const std::string& name, bool& done) override;
    HvErrorType GetRegisterLength(const std::string& name, int64_t& length) override;
    HvErrorType GetRegister(const std::string& name, uint8_t* buffer, size_t size) override;
    HvErrorType SetRegister(const std::string& name, const uint8_t* buffer, size_t size) override;

    // The data type of a GenICam node by its element name ("IntReg",
    // "StringReg", "Register", ...); HvFeatureDataUnknown for other nodes.
    static HvFeatureDataType TypeOfElement(const std::string& element);

private:
    // Runs `body` on the device thread with the feature's node; NotFound when
    // the device has no such feature.
    HvErrorType WithNode(const std::string& name,
                         const std::function<HvErrorType(ArvGcNode*)>& body);
    // WithNode for a node of one GenICam type (HvErrorWrongType otherwise); an
    // error `body` leaves is logged as "<what> <name>: ..." and mapped.
    template <typename Node>
    HvErrorType Typed(const std::string& name, GType type, const char* what,
                      const std::function<void(Node*, GError**)>& body);
    HvErrorType CommandDone(ArvGcNode* command, bool& done);

    DeviceThread& m_thread;
    ArvDevice*& m_device;
};

} // namespace hvaravis
