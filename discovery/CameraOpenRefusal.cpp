#include "CameraOpenRefusal.h"

#include "CameraModelCompatibility.h"

#include <QCoreApplication>
#include <QStringList>

QString cameraOpenRefusal(const CameraInfoMap& camera)
{
    QStringList reasons;
    if (!camera.value(QStringLiteral("Full Access")).toBool())
        reasons << QCoreApplication::translate("CameraDiscoveryWidget",
                                               "held by another application");
    QString family;
    if (!IsCameraModelCompatible(camera.value(QStringLiteral("Model Name")).toString(), family))
        reasons << QCoreApplication::translate("CameraDiscoveryWidget",
                                               "not supported by this program");
    return reasons.join(QStringLiteral("; "));
}
