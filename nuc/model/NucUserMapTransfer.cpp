#include "NucUserMapTransfer.h"

#include "NucPanelModel.h"
#include "NucPanelPort.h"
#include "OxFeatureContainer.h"

#include <QFile>

void NucUserMapTransfer::saveGeneratedMap()
{
    reportSave(m_model.saveUserMap(QString()));
}

bool NucUserMapTransfer::importMap()
{
    return m_model.loadUserMap(QString());
}

bool NucUserMapTransfer::uploadMapByMemory()
{
    uploadUserMap();
    return true;
}

void NucUserMapTransfer::uploadLocalMap()
{
    m_model.loadUserMap(QString());
}

void NucUserMapTransfer::downloadMap()
{
    NucPanelPort& port = m_model.port();
    const QString name = m_model.currentUserMapFile();
    const QString dir = port.existingDirectory(
        NucPanelPort::Owner::None, tr("Download seelcted user map"), m_model.storedMapDir(), true);
    // A cancelled chooser would name a file in the root folder.
    if (dir.isEmpty())
        return;
    const QString destination = dir + "/" + name;
    if (QFile::exists(destination) &&
        !port.question(tr("Overwrite File"),
                       tr("The file already exists. Do you want to overwrite it?"), true))
        return;
    startDownload(destination, name, QStringLiteral("Userfile"));
}

bool NucUserMapTransfer::shadingCorrectionEnabled(bool*)
{
    return false;
}

bool NucUserMapTransfer::setShadingCorrectionEnabled(bool)
{
    return false;
}

bool NucUserMapTransfer::selectedMap(QVariant& map)
{
    OxFeatureContainer* features = m_model.features();
    return features != nullptr && features->GetValue("NucControl", map);
}

bool NucUserMapTransfer::selectMap(const QVariant& map)
{
    if (OxFeatureContainer* features = m_model.features())
        features->SetValue("NucControl", map);
    return false;
}
