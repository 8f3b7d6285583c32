#pragma once

#include <QString>

// Which cameras the programs show. Simulated cameras are the default: real
// cameras come through a transport layer whose GigE Vision discovery
// broadcasts on every network interface, which a machine that did not ask
// for it must never see.
enum class CameraSource
{
    Simulated,
    Real,
    All
};

// "simulated", "real" or "all"; false for anything else.
bool parseCameraSource(const QString& text, CameraSource& source);

// The source a program runs with: the command line's value when given, else
// the environment variable ORVEX_CAMERAS when set, else `fallback`. False
// with the reason in `error` when the value given is not a source.
bool resolveCameraSource(const QString& commandLine, CameraSource fallback, CameraSource& source,
                         QString& error);

// Tells the camera SDK which transport layers its next start-up starts.
void selectCameraSource(CameraSource source);
// The source the SDK was last told.
CameraSource selectedCameraSource();
