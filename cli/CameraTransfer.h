#pragma once

#include "CameraCommand.h"
#include "OxMapEntry.h"

#include <QCommandLineOption>
#include <QString>
#include <QStringList>

class OxCamera;

// What "upload" and "download" share on top of a camera command: the --entry
// option and the FILE argument, the entry lookup and the progress lines on
// the error stream.
class CameraTransfer
{
public:
    CameraTransfer(const QString& command, const QString& summary, const QString& description);

    // An option of the command's own, added before parse().
    void addOption(const QCommandLineOption& option);
    bool isSet(const QCommandLineOption& option);

    // Returns -1 when the command should go on, else the exit status.
    int parse(const QStringList& arguments);

    QString file() const { return m_file; }

    // Starts the SDK, finds and opens the camera and looks the entry up;
    // on failure reports it and returns false.
    bool open();
    OxCamera* camera() const { return m_command.camera(); }
    QString extendedId() const { return m_command.extendedId(); }
    QString serialNumber() const { return m_command.serial(); }
    const OxMapEntry& entry() const { return m_entry; }

    // Reports a failure of the command and returns ExitFailed.
    int fail(const QString& text) const { return m_command.fail(text); }

private:
    CameraCommand m_command;
    QCommandLineOption m_entryOption;
    QString m_entryName;
    QString m_file;
    OxMapEntry m_entry;
};
