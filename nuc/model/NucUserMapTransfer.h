#pragma once

#include "NucMapTransfer.h"

// Maps as .ge3 user map files (nuc_usermap<k>.ge3) in the camera's "Userfile"
// device file, one of which "NucControl" selects. The camera has no shading
// correction switch of its own.
class NucUserMapTransfer : public NucMapTransfer
{
    Q_DECLARE_TR_FUNCTIONS(NucUserMapTransfer)

public:
    using NucMapTransfer::NucMapTransfer;

    void saveGeneratedMap() override;
    bool importMap() override;
    // The user map has no memory path: its file goes up instead.
    bool uploadMapByMemory() override;
    void uploadLocalMap() override;
    void downloadMap() override;
    bool shadingCorrectionEnabled(bool* on) override;
    bool setShadingCorrectionEnabled(bool on) override;
    bool selectedMap(QVariant& map) override;
    // Passes the value on but answers false: user maps are chosen by
    // NucPanelModel::setUserMap.
    bool selectMap(const QVariant& map) override;
};
