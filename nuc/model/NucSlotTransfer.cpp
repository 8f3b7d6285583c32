#include "NucSlotTransfer.h"

#include "NucPanelModel.h"
#include "NucPanelPort.h"
#include "OxCamera.h"
#include "OxFeatureContainer.h"

#include <QFile>
#include <QFileInfo>

void NucSlotTransfer::saveGeneratedMap()
{
    NucPanelPort& port = m_model.port();
    if (m_model.noMapSelector()) {
        port.information(tr("Save Map"), tr("Save to file failed: FileAccess is not supported"));
        return;
    }
    const QString extension = ".bin";
    QString path =
        port.saveFileName(tr("Export Map"), m_model.lastMapDir(), tr("Bin (*%1)").arg(extension));
    if (path.isEmpty())
        return;
    if (!path.endsWith(extension, Qt::CaseInsensitive))
        path += extension;
    reportSave(m_model.saveMap(path));
}

bool NucSlotTransfer::importMap()
{
    return m_model.importFloatMap();
}

void NucSlotTransfer::uploadLocalMap()
{
    NucPanelPort& port = m_model.port();
    const QString path = port.openFileName(NucPanelPort::Owner::Panel, tr("Upload Local Map"),
                                           m_model.storedMapDir(), "*.bin");
    if (path.isEmpty())
        return;
    const QString name = m_model.currentSlot().name;
    OxCamera* camera = m_model.camera();
    port.startFileTask(QStringLiteral("Upload Local File"), [&port, camera, name, path] {
        long written = 0;
        const QByteArray file = name.toUtf8();
        const bool ok =
            camera != nullptr &&
            camera->UploadLocalFile(file.constData(), QFile::encodeName(path).constData(),
                                    file.constData(), &written) &&
            written == QFileInfo(path).size();
        port.log(tr("Upload Local Map '%1'%2: %3 bytes written.")
                     .arg(name, ok ? QString() : QStringLiteral(" failed"))
                     .arg(written),
                 ok ? LogInfo : LogError);
        return ok;
    });
    m_model.rememberMapDir(path);
}

void NucSlotTransfer::downloadMap()
{
    const QString destination = m_model.port().saveFileName(
        tr("Download File As"), m_model.storedMapDir(), tr("Bin (*.bin)"));
    if (destination.isEmpty())
        return;
    const NucMapSlot slot = m_model.currentSlot();
    startDownload(destination, slot.name, slot.name);
}

bool NucSlotTransfer::shadingCorrectionEnabled(bool* on)
{
    QVariant value;
    OxFeatureContainer* features = m_model.features();
    if (on == nullptr || features == nullptr || !features->GetValue("Shading_Control", value))
        return false;
    *on = value.toLongLong() != 0;
    return true;
}

bool NucSlotTransfer::setShadingCorrectionEnabled(bool on)
{
    OxFeatureContainer* features = m_model.features();
    return features != nullptr &&
           features->SetValue("Shading_Control", QVariant(qlonglong(on ? 1 : 0)));
}

bool NucSlotTransfer::selectedMap(QVariant& map)
{
    OxFeatureContainer* features = m_model.features();
    return features != nullptr && features->GetValue("Shading_MapSelect", map);
}

bool NucSlotTransfer::selectMap(const QVariant& map)
{
    OxFeatureContainer* features = m_model.features();
    return features != nullptr && features->SetValue("Shading_MapSelect", map);
}
