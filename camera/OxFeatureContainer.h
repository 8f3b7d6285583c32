#pragma once

#include <Hvx/EnumEntry.h>
#include <Hvx/SharedPointers.h>

#include <QObject>
#include <QStringList>
#include <QVariant>

#include <cstdint>
#include <memory>
#include <vector>

// The features of one SDK container (camera, stream or interface) through
// variants; every member forwards to OxFeatureContainerUtil and answers
// true on success.
class OxFeatureContainer : public QObject
{
    Q_OBJECT

public:
    OxFeatureContainer(std::shared_ptr<Hvx::FeatureContainer> container, QObject* parent);
    ~OxFeatureContainer() override;

    bool GetValue(const char* name, QVariant& value) const;
    bool SetValue(const char* name, const QVariant& value);
    // With timeoutMs > 0 waits for the command to complete (see
    // OxFeatureContainerUtil::SetFeatureCommand).
    bool SetCommand(const char* name, uint64_t timeoutMs);
    bool SetRegisterValue(const char* name, const std::vector<uint8_t>& bytes, int size);
    bool GetRegisterValue(const char* name, std::vector<uint8_t>& bytes, int size) const;
    bool GetFeatureRange(const char* name, QVariant& min, QVariant& max, QVariant& increment) const;
    // True when the question could be answered; the answer is in `result`.
    bool HasFeature(const char* name, bool& result) const;
    bool IsWritable(const char* name, bool& result) const;
    bool IsReadable(const char* name, bool& result) const;
    bool GetSubFeatures(const char* name, std::vector<Hvx::EnumEntry>* entries) const;
    // The names of GetSubFeatures' entries; empty when there are none or the
    // enumeration cannot be read.
    QStringList GetEntryNames(const char* name) const;

    std::shared_ptr<Hvx::FeatureContainer> Container() const { return m_container; }

private:
    std::shared_ptr<Hvx::FeatureContainer> m_container;
};
