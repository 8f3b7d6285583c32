#pragma once

#include "NucMapTransfer.h"

// Maps as .bin files in the camera's shading map slots, by File Access: each
// slot is a "FileSelector" entry, and the camera switches its correction and
// selects a slot by features.
class NucSlotTransfer : public NucMapTransfer
{
    Q_DECLARE_TR_FUNCTIONS(NucSlotTransfer)

public:
    using NucMapTransfer::NucMapTransfer;

    void saveGeneratedMap() override;
    bool importMap() override;
    void uploadLocalMap() override;
    void downloadMap() override;
    bool shadingCorrectionEnabled(bool* on) override;
    bool setShadingCorrectionEnabled(bool on) override;
    bool selectedMap(QVariant& map) override;
    bool selectMap(const QVariant& map) override;
};
