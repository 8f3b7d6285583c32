#pragma once

#include <QCoreApplication>
#include <QString>
#include <QVariant>

class OxFeatureContainer;

// The camera's own shading correction, switched the way each camera style
// offers it: a camera with "Shading_Control" applies the shading map entry
// that "Shading_MapSelect" selects (counted over its "ShadingMap..." file
// selector entries), a camera with "NucControl" the user map entry of that
// name ("Off" applies none).
class CameraCorrection
{
    Q_DECLARE_TR_FUNCTIONS(CameraCorrection)

public:
    explicit CameraCorrection(OxFeatureContainer* features);

    // The setting as it is, to be put back later.
    struct State
    {
        QVariant control; // "Shading_Control", or null on a "NucControl" camera
        QVariant select;  // "Shading_MapSelect", or the "NucControl" entry
    };

    // Each returns false with the reason when the camera refuses.
    bool read(State* state, QString* error) const;
    bool restore(const State& state, QString* error);
    bool switchOff(QString* error);
    // entry: a map entry as the assistant's selector names it ("ShadingMap1",
    // "NucUserMap0").
    bool switchOn(const QString& entry, QString* error);

private:
    bool hasNucControl() const;
    bool set(const char* feature, const QVariant& value, QString* error);

    OxFeatureContainer* m_features;
};
