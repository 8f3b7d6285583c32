#pragma once

#include <QStringList>

// orvex-nuc features: the camera's features with type, access and value, as
// text or JSON.
int runFeaturesCommand(const QStringList& arguments);
// orvex-nuc set: writes NAME=VALUE settings to a camera.
int runSetCommand(const QStringList& arguments);
