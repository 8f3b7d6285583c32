#pragma once

#include "OxMapEntry.h"

#include <QCommandLineOption>
#include <QString>
#include <QStringList>

#include <memory>

class CameraSession;
class OxCamera;
class QCommandLineParser;

// What "upload" and "download" share: the --camera and --entry options and
// the FILE argument, the camera and entry lookup, the progress lines on the
// error stream and the failure report.
class CameraTransfer
{
public:
    CameraTransfer(const QString& command, const QString& summary, const QString& description);
    ~CameraTransfer();

    // An option of the command's own, added before parse().
    void addOption(const QCommandLineOption& option);
    bool isSet(const QCommandLineOption& option) const;

    // Returns -1 when the command should go on, else the exit status.
    int parse(const QStringList& arguments);

    QString cameraId() const { return m_cameraId; }
    QString file() const { return m_file; }

    // Starts the SDK, finds and opens the camera and looks the entry up;
    // on failure reports it and returns false.
    bool open();
    OxCamera* camera() const { return m_camera; }
    QString extendedId() const { return m_extendedId; }
    QString serialNumber() const { return m_serialNumber; }
    const OxMapEntry& entry() const { return m_entry; }

    // Reports a failure of the command and returns ExitFailed.
    int fail(const QString& text) const;

private:
    QString m_command;
    std::unique_ptr<QCommandLineParser> m_parser;
    QCommandLineOption m_cameraOption;
    QCommandLineOption m_entryOption;
    QString m_cameraId;
    QString m_entryName;
    QString m_file;
    std::unique_ptr<CameraSession> m_session;
    OxCamera* m_camera = nullptr;
    QString m_extendedId;
    QString m_serialNumber;
    OxMapEntry m_entry;
};
