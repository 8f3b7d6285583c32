#include "OxFeatureContainer.h"

#include "OxFeatureContainerUtil.h"
#include "SdkText.h"

OxFeatureContainer::OxFeatureContainer(std::shared_ptr<Hvx::FeatureContainer> container,
                                       QObject* parent)
    : QObject(parent), m_container(std::move(container))
{
}

OxFeatureContainer::~OxFeatureContainer() = default;

bool OxFeatureContainer::GetValue(const char* name, QVariant& value) const
{
    return OxFeatureContainerUtil::GetFeatureValue(m_container, name, value) == HvErrorSuccess;
}

bool OxFeatureContainer::SetValue(const char* name, const QVariant& value)
{
    return OxFeatureContainerUtil::SetFeatureValue(m_container, name, value) == HvErrorSuccess;
}

bool OxFeatureContainer::SetCommand(const char* name, uint64_t timeoutMs)
{
    return OxFeatureContainerUtil::SetFeatureCommand(m_container, name, timeoutMs) ==
           HvErrorSuccess;
}

bool OxFeatureContainer::SetRegisterValue(const char* name, const std::vector<uint8_t>& bytes,
                                          int size)
{
    return OxFeatureContainerUtil::SetFeatureRegister(m_container, name, bytes, size) ==
           HvErrorSuccess;
}

bool OxFeatureContainer::GetRegisterValue(const char* name, std::vector<uint8_t>& bytes,
                                          int size) const
{
    return OxFeatureContainerUtil::GetFeatureRegister(m_container, name, bytes, size) ==
           HvErrorSuccess;
}

bool OxFeatureContainer::GetFeatureRange(const char* name, QVariant& min, QVariant& max,
                                         QVariant& increment) const
{
    return OxFeatureContainerUtil::GetFeatureRange(m_container, name, min, max, increment) ==
           HvErrorSuccess;
}

bool OxFeatureContainer::HasFeature(const char* name, bool& result) const
{
    return OxFeatureContainerUtil::HasFeature(m_container, name, result) == HvErrorSuccess;
}

bool OxFeatureContainer::IsWritable(const char* name, bool& result) const
{
    return OxFeatureContainerUtil::IsWritable(m_container, name, result) == HvErrorSuccess;
}

bool OxFeatureContainer::IsReadable(const char* name, bool& result) const
{
    return OxFeatureContainerUtil::IsReadable(m_container, name, result) == HvErrorSuccess;
}

bool OxFeatureContainer::GetSubFeatures(const char* name,
                                        std::vector<Hvx::EnumEntry>* entries) const
{
    return OxFeatureContainerUtil::GetSubFeatures(m_container, name, entries) == HvErrorSuccess;
}

QStringList OxFeatureContainer::GetEntryNames(const char* name) const
{
    std::vector<Hvx::EnumEntry> entries;
    QStringList names;
    if (!GetSubFeatures(name, &entries))
        return names;
    for (const Hvx::EnumEntry& entry : entries) {
        QString text;
        if (ReadSdkText([&entry](char* b, unsigned int& l) { return entry.GetName(b, l); }, text) ==
            HvErrorSuccess)
            names << text;
    }
    return names;
}
