#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>

class OxFeatureContainer;

// A camera's features as orvex-nuc shows and sets them: name, type, access
// and value, and NAME=VALUE settings typed by the feature they name.
namespace CameraFeatures {

struct Listed
{
    QString name;
    QString type;   // "Integer", "Float", "Enumeration", "String", "Boolean", "Command", ...
    QString access; // "RW", "RO", "WO" or "NA"
    QString value;  // empty for commands, registers and unreadable features
    QJsonObject toJson() const;
};

QList<Listed> list(const OxFeatureContainer& features);

// Writes one "NAME=VALUE" setting; numbers are read with a decimal point.
// False with the reason (naming the feature) otherwise.
bool apply(OxFeatureContainer& features, const QString& setting, QString* error);

// Checks the form NAME=VALUE only; for a usage error before the camera opens.
bool wellFormed(const QString& setting);

} // namespace CameraFeatures
