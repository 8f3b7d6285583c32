#include "CameraMapEntry.h"

#include "OxFeatureContainer.h"
#include "SdkText.h"

#include <vector>

namespace {

QStringList entryNames(const OxFeatureContainer& features, const char* enumeration)
{
    std::vector<Hvx::EnumEntry> entries;
    QStringList names;
    if (!features.GetSubFeatures(enumeration, &entries))
        return names;
    for (const Hvx::EnumEntry& entry : entries) {
        QString name;
        if (ReadSdkText(
                [&](char* text, unsigned int& length) { return entry.GetName(text, length); },
                name) == HvErrorSuccess)
            names << name;
    }
    return names;
}

} // namespace

QList<CameraMapEntry> CameraMapEntry::list(const OxFeatureContainer& features)
{
    QList<CameraMapEntry> userMaps;
    int k = 0;
    for (const QString& name : entryNames(features, "NucControl")) {
        if (!name.contains("NucUserMap"))
            continue;
        userMaps << CameraMapEntry{Kind::UserMap, name, QString("nuc_usermap%1.ge3").arg(k++),
                                   "Userfile"};
    }

    QList<CameraMapEntry> entries;
    for (const QString& name : entryNames(features, "FileSelector")) {
        if (name == "Userfile" && !userMaps.isEmpty())
            continue;
        const Kind kind = name.startsWith("ShadingMap") ? Kind::ShadingMap : Kind::DeviceFile;
        entries << CameraMapEntry{kind, name, name, name};
    }
    return entries + userMaps;
}
