#include "CameraTransfer.h"

#include "CameraSession.h"
#include "CliCommand.h"
#include "OxCamera.h"

#include <QCommandLineParser>
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
    : m_command(command), m_parser(std::make_unique<QCommandLineParser>()),
      m_cameraOption("camera", tr("The camera: extended ID, plain ID or serial number."), "ID"),
      m_entryOption("entry",
                    tr("The map entry, as the assistant's selector names it (ShadingMap0, "
                       "NucUserMap1, ...)."),
                    "NAME")
{
    m_parser->setApplicationDescription(description);
    m_parser->addPositionalArgument(command, summary, command);
    m_parser->addOption(m_cameraOption);
    m_parser->addOption(m_entryOption);
    m_parser->addPositionalArgument("FILE", tr("The local file."));
}

CameraTransfer::~CameraTransfer() = default;

void CameraTransfer::addOption(const QCommandLineOption& option)
{
    m_parser->addOption(option);
}

bool CameraTransfer::isSet(const QCommandLineOption& option) const
{
    return m_parser->isSet(option);
}

int CameraTransfer::parse(const QStringList& arguments)
{
    const int parsed = parseSubcommand(*m_parser, arguments);
    if (parsed >= 0)
        return parsed;
    m_cameraId = m_parser->value(m_cameraOption);
    m_entryName = m_parser->value(m_entryOption);
    const QStringList positional = m_parser->positionalArguments();
    if (m_cameraId.isEmpty())
        return usageError(m_command, tr("give the camera with --camera ID"));
    if (m_entryName.isEmpty())
        return usageError(m_command, tr("give the map entry with --entry NAME"));
    if (positional.size() != 2)
        return usageError(m_command, tr("give exactly one FILE"));
    m_file = positional[1];
    return -1;
}

bool CameraTransfer::open()
{
    m_session = std::make_unique<CameraSession>();
    CameraInfoMap info;
    QString error;
    m_camera = m_session->openById(m_cameraId, &info, &error);
    if (m_camera == nullptr) {
        fail(error);
        return false;
    }
    m_extendedId = info.value("Extended ID").toString();
    m_serialNumber = CameraSession::serialNumber(info);

    QStringList names;
    const QList<OxMapEntry> entries = OxMapEntry::list(*m_camera->GetFeatureContainer());
    for (const OxMapEntry& entry : entries) {
        if (entry.name == m_entryName) {
            m_entry = entry;
            break;
        }
        names << entry.name;
    }
    if (m_entry.name.isEmpty()) {
        fail(tr("camera %1 has no entry '%2' (entries: %3)")
                 .arg(m_extendedId, m_entryName, names.isEmpty() ? tr("none") : names.join(", ")));
        return false;
    }

    // Progress as the camera reports it. The transfer runs on this thread,
    // so the lines come in order; the download repeats its final 0.
    auto last = std::make_shared<QString>();
    QObject::connect(
        m_camera, &OxCamera::updateTransferProcess,
        [last](int64_t remaining, const QString& fileName, const QString& operation) {
            const QString line =
                tr("%1 %2: %3 bytes to go").arg(operation, fileName).arg(qlonglong(remaining));
            if (line == *last)
                return;
            *last = line;
            cliErr() << line << '\n' << Qt::flush;
        });
    // The camera's own reason for a failure, before the command's verdict.
    QObject::connect(m_camera, &OxCamera::fileAccessError, [](const QString& message) {
        cliErr() << message << '\n' << Qt::flush;
    });
    return true;
}

int CameraTransfer::fail(const QString& text) const
{
    cliOut() << Qt::flush;
    cliErr() << QCoreApplication::applicationName() << ' ' << m_command << ": " << text << '\n'
             << Qt::flush;
    return ExitFailed;
}
