#pragma once

#include <QList>
#include <QString>
#include <QStringList>

class OxFeatureContainer;

// One place on an opened camera that a map file moves to or from, named as
// the assistant's map selector and `orvex-nuc --entry` name it.
struct OxMapEntry
{
    enum class Kind
    {
        ShadingMap, // a "ShadingMap…" device file: takes .bin map files
        UserMap,    // a "NucUserMap…" slot: a .ge3 file in the "Userfile" device file
        DeviceFile  // any other device file: taken as it is
    };

    Kind kind = Kind::DeviceFile;
    QString name;     // the entry's own name
    QString fileName; // device file name of a transfer
    QString selector; // "FileSelector" value of a transfer

    // The device file of the user map that comes k-th among the user maps.
    static QString userMapFileName(int k);

    // An entry of "FileSelector": its name is file name and selector alike.
    static OxMapEntry deviceFile(const QString& selectorEntry);
    // The user maps among the entries of "NucControl": those whose name holds
    // "NucUserMap", k counted over them, each in the "Userfile" device file.
    static QList<OxMapEntry> userMaps(const QStringList& nucControlEntries);

    // Every entry of the camera: the "FileSelector" entries in the camera's
    // order, then the user maps, whose "Userfile" device file is then not
    // listed on its own.
    static QList<OxMapEntry> list(const OxFeatureContainer& features);
};
