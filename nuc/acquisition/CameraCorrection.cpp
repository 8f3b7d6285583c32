#include "CameraCorrection.h"

#include "OxFeatureContainer.h"
#include "SdkText.h"

#include <vector>

CameraCorrection::CameraCorrection(OxFeatureContainer* features) : m_features(features) {}

bool CameraCorrection::hasNucControl() const
{
    bool has = false;
    return m_features->HasFeature("NucControl", has) && has;
}

bool CameraCorrection::set(const char* feature, const QVariant& value, QString* error)
{
    if (m_features->SetValue(feature, value))
        return true;
    if (error)
        *error = tr("The camera refused %1 = %2.").arg(feature, value.toString());
    return false;
}

bool CameraCorrection::read(State* state, QString* error) const
{
    bool ok = false;
    if (hasNucControl()) {
        state->control = QVariant();
        ok = m_features->GetValue("NucControl", state->select);
    } else {
        ok = m_features->GetValue("Shading_Control", state->control) &&
             m_features->GetValue("Shading_MapSelect", state->select);
    }
    if (!ok && error)
        *error = tr("The camera's correction setting (\"Shading_Control\" or \"NucControl\") "
                    "cannot be read.");
    return ok;
}

bool CameraCorrection::restore(const State& state, QString* error)
{
    if (!state.control.isValid())
        return set("NucControl", state.select, error);
    return set("Shading_MapSelect", state.select, error) &&
           set("Shading_Control", state.control, error);
}

bool CameraCorrection::switchOff(QString* error)
{
    return hasNucControl() ? set("NucControl", QString("Off"), error)
                           : set("Shading_Control", 0, error);
}

bool CameraCorrection::switchOn(const QString& entry, QString* error)
{
    if (hasNucControl())
        return set("NucControl", entry, error);
    std::vector<Hvx::EnumEntry> entries;
    m_features->GetSubFeatures("FileSelector", &entries);
    int index = 0;
    for (const Hvx::EnumEntry& e : entries) {
        QString name;
        ReadSdkText([&](char* text, unsigned int& length) { return e.GetName(text, length); },
                    name);
        if (name == entry)
            return set("Shading_MapSelect", index, error) && set("Shading_Control", 1, error);
        index += name.startsWith("ShadingMap");
    }
    if (error)
        *error = tr("The camera has no shading map entry %1.").arg(entry);
    return false;
}
