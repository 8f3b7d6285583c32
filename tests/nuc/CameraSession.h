#pragma once

#include "ApiController.h"
#include "OxCamera.h"
#include "OxCameraManager.h"

#include <Hvx/Camera.h>
#include <Hvx/HvSystem.h>
#include <HvxSimControl.h>

#include <QString>

#include <memory>

// The camera SDK started over the simulator's default camera set, with the
// program's own controller and camera manager on top, as the main window has
// them. More cameras can be plugged in while it runs.
class CameraSession
{
public:
    CameraSession()
    {
        qunsetenv("HVX_SIM_CONFIG");
        started = Hvx::HvSystem::GetInstance().Startup() == HvErrorSuccess;
        sim = started ? HvxSim::Control() : nullptr;
        controller = std::make_shared<ApiController>(nullptr);
        manager = std::make_unique<OxCameraManager>(controller, nullptr);
    }
    ~CameraSession()
    {
        manager.reset();
        controller.reset();
        if (started)
            Hvx::HvSystem::GetInstance().Shutdown();
    }
    CameraSession(const CameraSession&) = delete;
    CameraSession& operator=(const CameraSession&) = delete;

    bool ok() const { return started && sim != nullptr; }

    static QString extendedId(const QString& plainId) { return "sim::" + plainId; }

    // A new wrapper the caller owns, or null.
    OxCamera* open(const QString& plainId) { return manager->Open(extendedId(plainId)); }
    bool close(const QString& plainId) { return manager->Close(extendedId(plainId)); }

    bool started = false;
    HvxSim::IControl* sim = nullptr;
    std::shared_ptr<ApiController> controller;
    std::unique_ptr<OxCameraManager> manager;
};
