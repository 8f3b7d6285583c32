#pragma once

#include "CameraInfoMap.h"

#include <HvTypes.h>

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

class ApiController;
class OxCamera;

// The camera SDK for the length of one command: started on construction and
// shut down on destruction, with the same controller and camera wrapper the
// assistant window uses.
class CameraSession
{
public:
    CameraSession();
    ~CameraSession();
    CameraSession(const CameraSession&) = delete;
    CameraSession& operator=(const CameraSession&) = delete;

    // Empty when the SDK started, else why it did not.
    QString startError() const { return m_startError; }

    // Every detected camera with its information keys.
    QList<CameraInfoMap> cameras();
    // The camera whose extended ID, plain ID or serial number is `id`, in
    // that order of preference, else (with real cameras) the camera that
    // answers at `id` as an IPv4 address; an empty map when none has it.
    CameraInfoMap find(const QString& id);
    // The GigE Vision camera at an IPv4 address, asked by unicast; it needs
    // real cameras switched on. An empty map with the reason in *error when
    // none answered.
    CameraInfoMap findByAddress(const QString& address, QString* error);

    // Opens the camera with full access; null with the reason in *error.
    // The session closes it again on destruction.
    OxCamera* open(const CameraInfoMap& camera, QString* error);

    // What a command on one camera needs: the camera `id` names (see find),
    // opened; null with the reason in *error (an SDK that did not start, no
    // such camera, or open's reason). *info gets the camera's information.
    OxCamera* openById(const QString& id, CameraInfoMap* info, QString* error);

    // The camera's "Serial No.", or its extended ID when it reports none:
    // what backups of its maps are kept under.
    static QString serialNumber(const CameraInfoMap& camera);

    // The controller's error reports since the last call.
    QStringList takeErrors();

private:
    QString m_startError;
    bool m_started = false;
    std::shared_ptr<ApiController> m_controller;
    std::unique_ptr<OxCamera> m_opened;
    QString m_openedId;
    QStringList m_errors;
};
