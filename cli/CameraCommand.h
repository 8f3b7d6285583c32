#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <memory>

class CameraSession;
class OxCamera;

// What the commands that work on one camera share: the --camera option (and
// --set NAME=VALUE where the command takes it), opening the camera, applying
// the settings, and reporting failures as "orvex-nuc <command>: ...".
class CameraCommand
{
public:
    CameraCommand(const QString& command, const QString& summary, const QString& description,
                  bool withSettings);
    ~CameraCommand();

    // Add the command's own options here before parse().
    QCommandLineParser& parser() { return m_parser; }

    // Returns -1 when the command should go on, else the exit status.
    int parse(const QStringList& arguments);

    // Starts the SDK, finds and opens the camera and applies --set (and
    // `settings`) in order; on failure reports it and returns false.
    bool open(const QStringList& settings = {});
    OxCamera* camera() const { return m_camera; }
    QString extendedId() const { return m_extendedId; }
    QString serial() const { return m_serial; }

    int fail(const QString& text) const;
    int usage(const QString& text) const;

private:
    QString m_command;
    QCommandLineParser m_parser;
    QCommandLineOption m_cameraOption;
    QCommandLineOption m_setOption;
    bool m_withSettings;
    QString m_cameraId;
    std::unique_ptr<CameraSession> m_session;
    OxCamera* m_camera = nullptr;
    QString m_extendedId;
    QString m_serial;
};
