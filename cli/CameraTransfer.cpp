#include "CameraTransfer.h"

#include "CliCommand.h"
#include "OxCamera.h"

#include <QCoreApplication>
#include <QTextStream>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("orvex-nuc transfer", text);
}

} // namespace

CameraTransfer::CameraTransfer(const QString& command, const QString& summary,
                               const QString& description)
    : m_command(command, summary, description, false),
      m_entryOption("entry",
                    tr("The map entry, as the assistant's selector names it (ShadingMap0, "
                       "NucUserMap1, ...)."),
                    "NAME")
{
    m_command.parser().addOption(m_entryOption);
    m_command.parser().addPositionalArgument("FILE", tr("The local file."));
}

void CameraTransfer::addOption(const QCommandLineOption& option)
{
    m_command.parser().addOption(option);
}

bool CameraTransfer::isSet(const QCommandLineOption& option)
{
    return m_command.parser().isSet(option);
}

int CameraTransfer::parse(const QStringList& arguments)
{
    const int parsed = m_command.parse(arguments);
    if (parsed >= 0)
        return parsed;
    m_entryName = m_command.parser().value(m_entryOption);
    const QStringList positional = m_command.parser().positionalArguments();
    if (m_entryName.isEmpty())
        return m_command.usage(tr("give the map entry with --entry NAME"));
    if (positional.size() != 2)
        return m_command.usage(tr("give exactly one FILE"));
    m_file = positional[1];
    return -1;
}

bool CameraTransfer::open()
{
    if (!m_command.open())
        return false;
    OxCamera* camera = m_command.camera();

    QStringList names;
    const QList<OxMapEntry> entries = OxMapEntry::list(*camera->GetFeatureContainer());
    for (const OxMapEntry& entry : entries) {
        if (entry.name == m_entryName) {
            m_entry = entry;
            break;
        }
        names << entry.name;
    }
    if (m_entry.name.isEmpty()) {
        fail(tr("camera %1 has no entry '%2' (entries: %3)")
                 .arg(extendedId(), m_entryName, names.isEmpty() ? tr("none") : names.join(", ")));
        return false;
    }

    // Progress as the camera reports it. The transfer runs on this thread,
    // so the lines come in order; the download repeats its final 0.
    auto last = std::make_shared<QString>();
    QObject::connect(
        camera, &OxCamera::updateTransferProcess,
        [last](int64_t remaining, const QString& fileName, const QString& operation) {
            const QString line =
                tr("%1 %2: %3 bytes to go").arg(operation, fileName).arg(qlonglong(remaining));
            if (line == *last)
                return;
            *last = line;
            cliErr() << line << '\n' << Qt::flush;
        });
    // The camera's own reason for a failure, before the command's verdict.
    QObject::connect(camera, &OxCamera::fileAccessError, [](const QString& message) {
        cliErr() << message << '\n' << Qt::flush;
    });
    return true;
}
