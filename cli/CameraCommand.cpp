#include "CameraCommand.h"

#include "CameraFeatures.h"
#include "CameraSession.h"
#include "CliCommand.h"
#include "OxCamera.h"
#include "OxFeatureContainer.h"

#include <QCoreApplication>
#include <QTextStream>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("orvex-nuc camera", text);
}

} // namespace

CameraCommand::CameraCommand(const QString& command, const QString& summary,
                             const QString& description, bool withSettings)
    : m_command(command),
      m_cameraOption("camera", tr("The camera: extended ID, plain ID or serial number."), "ID"),
      m_setOption("set",
                  tr("Set a camera feature before starting (repeatable), e.g. "
                     "ExposureTime=12000."),
                  "NAME=VALUE"),
      m_withSettings(withSettings)
{
    m_parser.setApplicationDescription(description);
    m_parser.addPositionalArgument(command, summary, command);
    m_parser.addOption(m_cameraOption);
    if (withSettings)
        m_parser.addOption(m_setOption);
}

CameraCommand::~CameraCommand() = default;

int CameraCommand::parse(const QStringList& arguments)
{
    const int parsed = parseSubcommand(m_parser, arguments);
    if (parsed >= 0)
        return parsed;
    m_cameraId = m_parser.value(m_cameraOption);
    if (m_cameraId.isEmpty())
        return usage(tr("give the camera with --camera ID"));
    if (m_withSettings)
        for (const QString& setting : m_parser.values(m_setOption))
            if (!CameraFeatures::wellFormed(setting))
                return usage(tr("'%1' is not NAME=VALUE").arg(setting));
    return -1;
}

bool CameraCommand::open(const QStringList& settings)
{
    m_session = std::make_unique<CameraSession>();
    CameraInfoMap info;
    QString error;
    m_camera = m_session->openById(m_cameraId, &info, &error);
    if (!m_camera) {
        fail(error);
        return false;
    }
    m_extendedId = info.value("Extended ID").toString();
    m_serial = CameraSession::serialNumber(info);
    const QStringList all =
        (m_withSettings ? m_parser.values(m_setOption) : QStringList()) + settings;
    for (const QString& setting : all) {
        if (!CameraFeatures::apply(*m_camera->GetFeatureContainer(), setting, &error)) {
            fail(error);
            return false;
        }
    }
    return true;
}

int CameraCommand::fail(const QString& text) const
{
    cliOut() << Qt::flush;
    cliErr() << QCoreApplication::applicationName() << ' ' << m_command << ": " << text << '\n'
             << Qt::flush;
    return ExitFailed;
}

int CameraCommand::usage(const QString& text) const
{
    return usageError(m_command, text);
}
