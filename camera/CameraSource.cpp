#include "CameraSource.h"

#include <Hvx/HvSystem.h>

#include <QCoreApplication>

namespace {

struct Named
{
    CameraSource source;
    const char* name;
    HvModuleSelectionType modules;
};

const Named kSources[] = {
    {CameraSource::Simulated, "simulated", HvModuleSelectionStandard},
    {CameraSource::Real, "real", HvModuleSelectionOnRequest},
    {CameraSource::All, "all", HvModuleSelectionAll},
};

} // namespace

bool parseCameraSource(const QString& text, CameraSource& source)
{
    for (const Named& named : kSources) {
        if (text == QLatin1String(named.name)) {
            source = named.source;
            return true;
        }
    }
    return false;
}

bool resolveCameraSource(const QString& commandLine, CameraSource fallback, CameraSource& source,
                         QString& error)
{
    const QString environment = qEnvironmentVariable("ORVEX_CAMERAS");
    const bool fromCommandLine = !commandLine.isEmpty();
    const QString given = fromCommandLine ? commandLine : environment;
    if (given.isEmpty()) {
        source = fallback;
        return true;
    }
    if (parseCameraSource(given, source))
        return true;
    error = QCoreApplication::translate("CameraSource",
                                        "unknown camera source '%1' in %2 (use simulated, real "
                                        "or all)")
                .arg(given, fromCommandLine ? QStringLiteral("--cameras")
                                            : QStringLiteral("ORVEX_CAMERAS"));
    return false;
}

void selectCameraSource(CameraSource source)
{
    for (const Named& named : kSources)
        if (named.source == source)
            Hvx::HvSystem::GetInstance().SelectModules(named.modules);
}

CameraSource selectedCameraSource()
{
    const HvModuleSelectionType modules = Hvx::HvSystem::GetInstance().SelectedModules();
    for (const Named& named : kSources)
        if (named.modules == modules)
            return named.source;
    return CameraSource::Simulated;
}
