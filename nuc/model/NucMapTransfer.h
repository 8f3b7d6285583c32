#pragma once

#include "OxMapEntry.h"

#include <QCoreApplication>
#include <QString>
#include <QVariant>

#include <memory>

class NucPanelModel;
class NucPanelPort;
class OxCamera;

// The way maps reach the opened camera, chosen once when the panel binds to
// it: File Access to its shading map slots (NucSlotTransfer), its user maps
// (NucUserMapTransfer), or raw memory writes (NucRawMemoryTransfer). The
// panel's map buttons and its shading-correction helpers delegate here.
class NucMapTransfer
{
    Q_DECLARE_TR_FUNCTIONS(NucMapTransfer)

public:
    explicit NucMapTransfer(NucPanelModel& model) : m_model(model) {}
    virtual ~NucMapTransfer() = default;
    NucMapTransfer(const NucMapTransfer&) = delete;
    NucMapTransfer& operator=(const NucMapTransfer&) = delete;

    // User maps where the camera has them, else raw memory where asked for,
    // else File Access to the map slots.
    static std::unique_ptr<NucMapTransfer> choose(NucPanelModel& model);

    // "Save Generated  Map To File", with the report.
    virtual void saveGeneratedMap() = 0;
    // Takes a map from a file the operator picks (the panel's LoadMap).
    virtual bool importMap() = 0;
    // "Upload Generated  Map To Camera" once streaming and a missing map are
    // ruled out: after the operator agreed, the .bin goes to the device file
    // that the current entry's name names.
    virtual void uploadGeneratedMap();
    // The generated map without a question, as the raw memory path sends it
    // (the panel's upload_shading_map).
    virtual bool uploadMapByMemory();
    // "Upload Local Map To Camera" once the operator agreed.
    virtual void uploadLocalMap() = 0;
    // "Download Map To File".
    virtual void downloadMap() = 0;
    // "Restore Previous Map…": one of the current entry's backups, chosen by
    // the operator, goes back to the camera (its map now kept as a backup).
    void restoreBackup();

    // The camera's shading correction switch and selected map, this camera's
    // way.
    virtual bool shadingCorrectionEnabled(bool* on) = 0;
    virtual bool setShadingCorrectionEnabled(bool on) = 0;
    virtual bool selectedMap(QVariant& map) = 0;
    virtual bool selectMap(const QVariant& map) = 0;

    // The series' map as the current user map's .ge3, as a file task (the
    // panel's upload_dopo_map).
    void uploadUserMap();

    // The local file of the last download started.
    QString downloadedFile() const { return m_downloaded; }

    // Before an upload overwrites entry on the camera: keeps the camera's
    // file of it in the backups (NucMapBackups) and logs where. When that
    // fails, the operator is asked whether to upload without one (No by
    // default). True when the upload may go on. Runs in the file task.
    static bool keepBackup(NucPanelPort& port, OxCamera* camera, const QString& serial,
                           const OxMapEntry& entry);

protected:
    // The map's warnings, if it has any (No by default), then "Upload Shadin
    // Map": true when the operator agrees to send it over the current entry.
    bool confirmGeneratedUpload();
    // A file task that reads the device file into destination.
    void startDownload(const QString& destination, const QString& fileName,
                       const QString& selector);
    // Tells the outcome of "Save Generated  Map To File".
    void reportSave(bool saved);

    NucPanelModel& m_model;

private:
    QString m_downloaded;
};
