#pragma once

#include "NucMapPipeline.h"
#include "OxMapEntry.h"

#include <QList>
#include <QString>

#include <memory>

class NucImageInput;
class NucMapTransfer;
class NucPanelPort;
class OxCamera;
class OxFeatureContainer;

// One entry of the panel's map selector: a camera map entry with the map id
// that a .bin for it carries and what File Access refuses on it.
struct NucMapSlot : OxMapEntry
{
    qint32 chunkId = 0; // "FileChunkId" of a shading map slot; 0 for a user map
    bool readBlocked = false;
    bool writeBlocked = false;
};

// What the assistant panel knows, without a widget: the opened camera (owned
// from init to reset), its map slots, the way maps reach it (chosen once, in
// init) and the map files made from the panel's series. Dialogs, log lines
// and file tasks go through the port.
class NucPanelModel
{
public:
    NucPanelModel(NucImageInput& input, NucPanelPort& port);
    ~NucPanelModel();
    NucPanelModel(const NucPanelModel&) = delete;
    NucPanelModel& operator=(const NucPanelModel&) = delete;

    // Binds to camera: its shading map slots, then its user maps, File Access
    // probed on each, and the way maps reach it. registerAccess: by raw
    // memory writes, which nothing in the program asks for. The map folder
    // is read from the settings.
    void init(OxCamera* camera, bool registerAccess = false);
    // Deletes the camera and forgets its slots.
    void reset();

    OxCamera* camera() const { return m_camera.get(); }
    // What the camera's map backups are kept under: its serial number, or
    // its extended ID when it reports none.
    QString serialNumber() const;
    OxFeatureContainer* features() const;
    NucMapTransfer& transfer() const { return *m_transfer; }
    NucImageInput& input() const { return m_input; }
    NucPanelPort& port() const { return m_port; }

    const QList<NucMapSlot>& mapSlots() const { return m_slots; }
    int current() const { return m_current; }
    void setCurrent(int index) { m_current = index; }
    // A default slot (no name) when there is none.
    NucMapSlot currentSlot() const;
    // The device file of the current user map; empty for a shading map slot.
    QString currentUserMapFile() const;

    bool noMapSelector() const { return m_noMapSelector; } // no shading map slot
    bool hasNucControl() const { return m_hasNucControl; }
    bool fileAccessAvailable() const { return m_fileAccessAvailable; }
    bool registerAccess() const { return m_registerAccess; }
    bool endianess() const { return m_endianess; }
    void setEndianess(bool bigEndian) { m_endianess = bigEndian; }
    qint32 mapId() const { return m_mapId; }
    // A map is being generated: it takes the current shading map slot's id.
    void takeMapIdOfCurrent();

    // What File Access allows on the current slot.
    bool downloadAllowed() const;
    bool uploadAllowed() const;

    // True while the camera streams ("TLParamsLocked" is 1).
    bool isParamlocked() const;
    // Selects the user map of the slot called name: "nucControl" becomes its
    // position + 5, and it becomes current. False when no slot is so called.
    bool setUserMap(const QString& name);

    // Map words are byte-swapped for a big-endian camera without map slots
    // and user maps only.
    bool swapsWords() const;
    // Map files of the series' map, for this camera.
    NucMapPipeline::FileLayout fileLayout(NucMapFile::Kind kind) const;
    // The series' map as packed words (gain code in bits 0-9).
    QVector<quint16> packedMap() const;
    // Where the series' map cannot be what the operator wanted, in plain
    // words (NucMapStatistics), a bright mean near saturation last.
    QStringList mapWarnings() const;
    // Writes the .bin; the file stays empty without shading map slots.
    bool saveMap(const QString& path);
    // Asks for a float map file and takes its maps into the series.
    bool importFloatMap();
    // The .ge3 of the current user map into dir; an empty dir asks for one.
    bool saveUserMap(QString dir);
    // Uploads a local .ge3 as the current user map, at once; an empty dir
    // asks for the file.
    bool loadUserMap(QString dir);

    QString lastMapDir() const { return m_lastMapDir; }
    // The map folder the settings hold now.
    QString storedMapDir() const;
    // Keeps the folder of filePath as the map folder, in the settings too.
    void rememberMapDir(const QString& filePath);

private:
    void addShadingMapSlots();
    void addUserMapSlots();
    void probeFileAccess();

    NucImageInput& m_input;
    NucPanelPort& m_port;
    std::unique_ptr<OxCamera> m_camera;
    std::unique_ptr<NucMapTransfer> m_transfer;
    QList<NucMapSlot> m_slots;
    int m_current = -1;
    bool m_noMapSelector = false;
    bool m_hasNucControl = false;
    bool m_fileAccessAvailable = false;
    bool m_registerAccess = false;
    bool m_endianess = true;
    qint32 m_mapId = NucTargets::DefaultMapId;
    QString m_lastMapDir;
};
