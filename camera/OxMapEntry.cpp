#include "OxMapEntry.h"

#include "OxFeatureContainer.h"

QString OxMapEntry::userMapFileName(int k)
{
    return QStringLiteral("nuc_usermap%1.ge3").arg(k);
}

OxMapEntry OxMapEntry::deviceFile(const QString& selectorEntry)
{
    const Kind kind =
        selectorEntry.startsWith(QStringLiteral("ShadingMap")) ? Kind::ShadingMap : Kind::DeviceFile;
    return OxMapEntry{kind, selectorEntry, selectorEntry, selectorEntry};
}

QList<OxMapEntry> OxMapEntry::userMaps(const QStringList& nucControlEntries)
{
    QList<OxMapEntry> entries;
    for (const QString& name : nucControlEntries) {
        if (name.contains(QStringLiteral("NucUserMap")))
            entries << OxMapEntry{Kind::UserMap, name, userMapFileName(entries.size()),
                                  QStringLiteral("Userfile")};
    }
    return entries;
}

QList<OxMapEntry> OxMapEntry::list(const OxFeatureContainer& features)
{
    const QList<OxMapEntry> users = userMaps(features.GetEntryNames("NucControl"));
    QList<OxMapEntry> entries;
    for (const QString& name : features.GetEntryNames("FileSelector")) {
        if (name == QStringLiteral("Userfile") && !users.isEmpty())
            continue;
        entries << deviceFile(name);
    }
    return entries + users;
}
