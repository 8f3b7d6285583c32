#include "NucRawMemoryTransfer.h"

#include "NucPanelModel.h"
#include "NucPanelPort.h"
#include "OxCamera.h"

namespace {

// The registers of the correction switch and the selected map.
constexpr unsigned int ShadingControlRegister = 0x105FFFE0;
constexpr unsigned int ShadingMapSelectRegister = 0x105FFFE4;

} // namespace

void NucRawMemoryTransfer::uploadLocalMap()
{
    NucPanelPort& port = m_model.port();
    if (!importMap()) {
        port.information(tr("Load Map"), tr("Load map failed!"));
        return;
    }
    if (uploadMapByMemory())
        port.information(tr("Load Map"), tr("Load map successful!"));
}

void NucRawMemoryTransfer::downloadMap()
{
    m_model.port().log(tr("Download device file not supported!"), LogInfo);
}

bool NucRawMemoryTransfer::shadingCorrectionEnabled(bool* on)
{
    unsigned int value = 0;
    OxCamera* camera = m_model.camera();
    if (on == nullptr || camera == nullptr || !camera->ReadRegister(ShadingControlRegister, &value))
        return false;
    *on = value == 1;
    return true;
}

bool NucRawMemoryTransfer::setShadingCorrectionEnabled(bool on)
{
    OxCamera* camera = m_model.camera();
    return camera != nullptr && camera->WriteRegister(ShadingControlRegister, on ? 1u : 0u);
}

bool NucRawMemoryTransfer::selectedMap(QVariant& map)
{
    unsigned int value = 0;
    OxCamera* camera = m_model.camera();
    if (camera == nullptr || !camera->ReadRegister(ShadingMapSelectRegister, &value))
        return false;
    map = value;
    return true;
}

bool NucRawMemoryTransfer::selectMap(const QVariant& map)
{
    OxCamera* camera = m_model.camera();
    return camera != nullptr && camera->WriteRegister(ShadingMapSelectRegister, map.toUInt());
}
