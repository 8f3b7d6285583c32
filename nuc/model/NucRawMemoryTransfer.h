#pragma once

#include "NucSlotTransfer.h"

// Maps written word by word into the camera's memory, with its correction
// switched by registers; map files are saved and imported as for the slots.
// Kept for cameras that take maps this way; the program never chooses it.
class NucRawMemoryTransfer : public NucSlotTransfer
{
    Q_DECLARE_TR_FUNCTIONS(NucRawMemoryTransfer)

public:
    using NucSlotTransfer::NucSlotTransfer;

    // A float map file, imported and then written into memory.
    void uploadLocalMap() override;
    // Not possible this way; only a log line says so.
    void downloadMap() override;
    bool shadingCorrectionEnabled(bool* on) override;
    bool setShadingCorrectionEnabled(bool on) override;
    bool selectedMap(QVariant& map) override;
    bool selectMap(const QVariant& map) override;
};
