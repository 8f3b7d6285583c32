#include "NucPanelModel.h"

#include "NucFloatMap.h"
#include "NucImageInput.h"
#include "NucMapPacking.h"
#include "NucMapStatistics.h"
#include "NucMapTransfer.h"
#include "NucPanelPort.h"
#include "OrxSettings.h"
#include "OxCamera.h"
#include "OxFeatureContainer.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("NucPanelModel", text);
}

// Map ids of the slots that hold a shading map this program can make.
bool isShadingMapId(qint64 id)
{
    return (id <= 8193 && (id >= 8192 || id == 2432)) || id == 8196;
}

NucMapSlot slotOf(const OxMapEntry& entry)
{
    NucMapSlot slot;
    static_cast<OxMapEntry&>(slot) = entry;
    return slot;
}

} // namespace

NucPanelModel::NucPanelModel(NucImageInput& input, NucPanelPort& port)
    : m_input(input), m_port(port)
{
    // Chosen once every flag has its value: the map slots' way, without a camera.
    m_transfer = NucMapTransfer::choose(*this);
}

NucPanelModel::~NucPanelModel() = default;

OxFeatureContainer* NucPanelModel::features() const
{
    return m_camera ? m_camera->GetFeatureContainer() : nullptr;
}

QString NucPanelModel::serialNumber() const
{
    HvCameraInfo info{};
    if (!m_camera || m_camera->GetInfo(&info) != HvErrorSuccess)
        return QString();
    const QString serial = QString::fromUtf8(info.serialString);
    return serial.isEmpty() ? QString::fromUtf8(info.cameraIdExtended) : serial;
}

void NucPanelModel::init(OxCamera* camera, bool registerAccess)
{
    m_camera.reset(camera);
    m_registerAccess = registerAccess;
    m_endianess = camera != nullptr && camera->IsBigEndian();
    // The camera's reasons for a failed File Access operation reach the log
    // at once, from the transfer's thread, before the transfer's own line.
    if (camera != nullptr)
        QObject::connect(camera, &OxCamera::fileAccessError,
                         [this](const QString& message) { m_port.log(message, LogError); });
    m_lastMapDir = storedMapDir();
    m_slots.clear();
    addShadingMapSlots();
    m_noMapSelector = m_slots.isEmpty();
    addUserMapSlots();
    m_current = m_slots.isEmpty() ? -1 : 0;
    probeFileAccess();
    m_transfer = NucMapTransfer::choose(*this);
}

void NucPanelModel::addShadingMapSlots()
{
    OxFeatureContainer* f = features();
    if (f == nullptr)
        return;
    const QStringList files = f->GetEntryNames("FileSelector");
    // Cameras that number their map slots from 1 keep maps of another kind.
    if (!files.contains(QStringLiteral("ShadingMap") + QStringLiteral("0")))
        return;
    for (const QString& file : files) {
        if (!file.startsWith(QStringLiteral("ShadingMap")) || !f->SetValue("FileSelector", file))
            continue;
        QVariant chunkId;
        const qint64 id = f->GetValue("FileChunkId", chunkId) ? chunkId.toLongLong()
                                                              : qint64(NucTargets::DefaultMapId);
        if (!isShadingMapId(id))
            continue;
        NucMapSlot slot = slotOf(OxMapEntry::deviceFile(file));
        slot.chunkId = qint32(id);
        m_slots << slot;
    }
}

void NucPanelModel::addUserMapSlots()
{
    const QStringList entries =
        features() != nullptr ? features()->GetEntryNames("NucControl") : QStringList();
    m_hasNucControl = !entries.isEmpty();
    for (const OxMapEntry& entry : OxMapEntry::userMaps(entries))
        m_slots << slotOf(entry);
}

void NucPanelModel::probeFileAccess()
{
    if (m_slots.isEmpty())
        return;
    m_fileAccessAvailable = true;
    // A user map is no "FileSelector" entry: the selection fails and nothing
    // counts as blocked.
    for (NucMapSlot& slot : m_slots) {
        bool readBlocked = false;
        bool writeBlocked = false;
        if (features()->SetValue("FileSelector", slot.name))
            m_camera->GetFileAccessMode(&readBlocked, &writeBlocked);
        slot.readBlocked = readBlocked;
        slot.writeBlocked = writeBlocked;
    }
}

void NucPanelModel::reset()
{
    m_camera.reset();
    m_slots.clear();
    m_current = -1;
    m_endianess = true;
    m_noMapSelector = false;
    m_hasNucControl = false;
    m_registerAccess = false;
    m_fileAccessAvailable = false;
    m_mapId = NucTargets::DefaultMapId;
    m_transfer = NucMapTransfer::choose(*this);
}

NucMapSlot NucPanelModel::currentSlot() const
{
    return m_current >= 0 && m_current < m_slots.size() ? m_slots[m_current] : NucMapSlot();
}

QString NucPanelModel::currentUserMapFile() const
{
    const NucMapSlot slot = currentSlot();
    return slot.kind == OxMapEntry::Kind::UserMap ? slot.fileName : QString();
}

void NucPanelModel::takeMapIdOfCurrent()
{
    if (!m_noMapSelector)
        m_mapId = currentSlot().chunkId;
}

bool NucPanelModel::downloadAllowed() const
{
    // Without shading map slots only user maps come back.
    return m_noMapSelector ? m_hasNucControl : !currentSlot().readBlocked;
}

bool NucPanelModel::uploadAllowed() const
{
    return m_fileAccessAvailable && (m_noMapSelector || !currentSlot().writeBlocked);
}

bool NucPanelModel::isParamlocked() const
{
    QVariant locked;
    return features() != nullptr && features()->GetValue("TLParamsLocked", locked) &&
           locked.toLongLong() == 1;
}

bool NucPanelModel::setUserMap(const QString& name)
{
    int k = 0;
    while (k < m_slots.size() && m_slots[k].name != name)
        ++k;
    if (k == m_slots.size())
        return false;
    // The camera numbers its user maps after its off and factory settings.
    if (features() != nullptr)
        features()->SetValue("nucControl", QVariant(qlonglong(k + 5)));
    m_current = k;
    return true;
}

bool NucPanelModel::swapsWords() const
{
    return NucMapPacking::swapsWords(m_noMapSelector, m_hasNucControl, m_endianess);
}

NucMapPipeline::FileLayout NucPanelModel::fileLayout(NucMapFile::Kind kind) const
{
    return {kind, quint32(m_mapId), swapsWords()};
}

QVector<quint16> NucPanelModel::packedMap() const
{
    return NucMapPacking::packedMap(m_input.darkParams, m_input.brightParams, m_input.bitDepth,
                                    false);
}

QStringList NucPanelModel::mapWarnings() const
{
    QStringList warnings = NucMapStatistics::of(packedMap()).warnings();
    const QString saturation = NucMapStatistics::saturationWarning(m_input.brightMean);
    if (!saturation.isEmpty())
        warnings << saturation;
    return warnings;
}

bool NucPanelModel::saveMap(const QString& path)
{
    // Without map slots there is nothing to save into; the file is still
    // created, empty.
    const QByteArray content =
        m_noMapSelector ? QByteArray()
                        : NucMapPipeline::fileImage(m_input, fileLayout(NucMapFile::Kind::Bin));
    const NucMapFile::SaveResult result = NucMapFile::save(path, content);
    if (result == NucMapFile::SaveResult::OpenFailed) {
        m_port.log(tr("Save Map: unable to open file '%1'").arg(path), LogError);
        return false;
    }
    return !m_noMapSelector && result == NucMapFile::SaveResult::Saved;
}

bool NucPanelModel::importFloatMap()
{
    const QString path = m_port.openFileName(NucPanelPort::Owner::None, tr("Import Map"),
                                             m_lastMapDir, tr("bin (*.bin)"));
    if (path.isEmpty())
        return false;

    bool loaded = false;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        m_port.information(tr("Open File Failed "), QString());
    } else {
        // A refused file leaves the maps as they were; only a file that reads
        // replaces them.
        NucFloatMap map;
        QString error;
        if (map.read(file, &error)) {
            // Only the bright series' size governs packing; the dark series'
            // size and both image counts stay as they are.
            m_input.brightParams.width = map.width;
            m_input.brightParams.height = map.height;
            m_input.darkParams.map = std::move(map.offsets);
            m_input.brightParams.map = std::move(map.gains);
            loaded = true;
        } else {
            m_port.log(tr("Import Map '%1': %2").arg(path, error), LogError);
            m_port.information(tr("fread exception"), QString());
        }
    }
    rememberMapDir(path);
    file.close();
    if (!loaded)
        m_port.information(tr("Load Map Failed"), QString());
    return loaded;
}

bool NucPanelModel::saveUserMap(QString dir)
{
    if (dir.isEmpty()) {
        // The start folder is looked up under the last map folder's text as
        // key; normally absent, so the dialog starts without a folder.
        const QString start =
            m_lastMapDir.isEmpty()
                ? QString()
                : OrxSettings::getInstance()->Get("Directory", m_lastMapDir, QVariant()).toString();
        dir = m_port.existingDirectory(NucPanelPort::Owner::Panel, tr("Open Directory"), start,
                                       false);
        // A cancelled dialog would leave a path in the root folder.
        if (dir.isEmpty())
            return false;
        OrxSettings::getInstance()->Set("Directory", "SHCSettingsFileDir", dir);
    }
    const QString path = dir + "//" + currentUserMapFile();
    const NucMapFile::SaveResult result = NucMapFile::save(
        path, NucMapPipeline::fileImage(m_input, fileLayout(NucMapFile::Kind::UserMap)));
    if (result == NucMapFile::SaveResult::OpenFailed)
        return false;
    rememberMapDir(path);
    if (result == NucMapFile::SaveResult::Saved)
        m_port.log(tr("User map saved as %1").arg(QDir::toNativeSeparators(QDir::cleanPath(path))),
                   LogInfo);
    return result == NucMapFile::SaveResult::Saved;
}

bool NucPanelModel::loadUserMap(QString dir)
{
    QString path;
    if (!dir.isEmpty()) {
        path = dir + "//" + currentUserMapFile();
    } else {
        path = m_port.openFileName(NucPanelPort::Owner::None, tr("Import Map"), m_lastMapDir,
                                   tr("ge3 (nuc_usermap*.ge3)"));
        if (path.isEmpty())
            return false;
    }
    const QString fileName = QFileInfo(path).fileName();
    const bool known = std::any_of(m_slots.begin(), m_slots.end(),
                                   [&](const NucMapSlot& slot) { return slot.name == fileName; });
    if (!m_hasNucControl && !known) {
        m_port.information(tr("Load User Map"), tr("Invalid user map file name"));
        return false;
    }
    setUserMap(currentSlot().name);
    long bytesWritten = 0;
    const bool uploaded =
        m_camera &&
        NucMapTransfer::keepBackup(m_port, m_camera.get(), serialNumber(), currentSlot()) &&
        m_camera->UploadLocalFile(QFile::encodeName(fileName).constData(),
                                  QFile::encodeName(path).constData(), "Userfile", &bytesWritten) &&
        bytesWritten == QFileInfo(path).size();
    rememberMapDir(path);
    return uploaded;
}

QString NucPanelModel::storedMapDir() const
{
    return OrxSettings::getInstance()
        ->Get("Directory", "SHCSettingsFileDir", QVariant())
        .toString();
}

void NucPanelModel::rememberMapDir(const QString& filePath)
{
    // Folders are compared as the file system spells them, with case.
    const QString dir = QDir::cleanPath(QFileInfo(filePath).absolutePath());
    if (dir != m_lastMapDir) {
        OrxSettings::getInstance()->Set("Directory", "SHCSettingsFileDir", dir);
        m_lastMapDir = dir;
    }
}
