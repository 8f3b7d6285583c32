#pragma once

#include <QList>
#include <QString>

class OxFeatureContainer;

// One place on an opened camera that a map file can be moved to or from,
// named as the assistant's shading map selector names it.
struct CameraMapEntry
{
    enum class Kind
    {
        ShadingMap, // a "ShadingMap…" device file: takes .bin map files
        UserMap,    // a "NucUserMap…" slot: a .ge3 file in the "Userfile" device file
        DeviceFile  // any other device file: taken as it is
    };

    Kind kind = Kind::DeviceFile;
    QString name;     // what the user gives with --entry
    QString fileName; // device file name of the transfer
    QString selector; // "FileSelector" value of the transfer

    // Every entry of the camera: the "FileSelector" entries in the camera's
    // order, then the user-map slots of "NucControl" (k counted over them,
    // file "nuc_usermap<k>.ge3"), whose "Userfile" device file is then not
    // listed on its own.
    static QList<CameraMapEntry> list(const OxFeatureContainer& features);
};
