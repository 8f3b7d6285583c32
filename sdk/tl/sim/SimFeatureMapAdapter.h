#pragma once

#include "SimFeatureSet.h"

#include <Hvx/TransportLayerModule.h>

namespace hvsim {

// Presents a simulator feature set through the module interface.
class SimFeatureMapAdapter : public Hvx::Tl::IFeatureMap
{
public:
    explicit SimFeatureMapAdapter(SimFeatureSet& set) : m_set(set) {}

    std::vector<std::string> FeatureNames() override { return m_set.names(); }
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

private:
    SimFeatureSet& m_set;
};

} // namespace hvsim
