#include "OrxSettings.h"

#include "OrxSettingsDefaults.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

namespace {

// Creates one folder level only. When the parent is missing this fails, and
// that is accepted: QSettings makes the folders of its files when it writes.
void makeDirIfMissing(const QString& path)
{
    if (!QDir(path).exists())
        QDir().mkdir(path);
}

} // namespace

OrxSettings* OrxSettings::getInstance()
{
    static OrxSettings instance;
    return &instance;
}

OrxSettings::OrxSettings()
{
    m_settingsDir = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    m_settingsDir.append("/");
    m_settingsDir.append("Varnholt Technologies");
    m_settingsDir.append("/");
    m_settingsDir.append("OxTools");
    makeDirIfMissing(m_settingsDir);

    m_dataRootDir =
        QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) + "/" + "OxTools";
    makeDirIfMissing(m_dataRootDir);

    m_imagesDir = m_dataRootDir + "/images";
    m_logsDir = m_dataRootDir + "/logs";
    m_shadingDir = m_dataRootDir + "/ShadingCorr";
    m_defectPixelDir = m_dataRootDir + "/DefectPixelCorr";
    m_fileAccessDir = m_dataRootDir + "/FileAccess";
    for (const QString& dir :
         {m_imagesDir, m_logsDir, m_shadingDir, m_defectPixelDir, m_fileAccessDir})
        makeDirIfMissing(dir);

    const QString mainFile = m_settingsDir + "/" + "OxTools.ini";
    m_settings = std::make_unique<QSettings>(mainFile, QSettings::IniFormat);
    if (QFile::exists(mainFile))
        _validate();
    else
        _createDefault();

    const QString ccmFile = m_settingsDir + "/" + "ccprofiles.ini";
    m_ccmSettings = std::make_unique<QSettings>(ccmFile, QSettings::IniFormat);
    if (!QFile::exists(ccmFile))
        _createDefaultCCM();

    const QString deffMatchFile = m_settingsDir + "/" + "deffmatch.ini";
    m_deffMatchSettings = std::make_unique<QSettings>(deffMatchFile, QSettings::IniFormat);
    if (!QFile::exists(deffMatchFile))
        _createDefaultDeffMatch();
}

OrxSettings::~OrxSettings() = default;

QVariant OrxSettings::Get(const QString& group, const QString& key, const QVariant& defaultValue)
{
    m_settings->beginGroup(group);
    const QVariant value = m_settings->value(key, defaultValue);
    m_settings->endGroup();
    return value;
}

void OrxSettings::Set(const QString& group, const QString& key, const QVariant& value)
{
    m_settings->beginGroup(group);
    m_settings->setValue(key, value);
    m_settings->endGroup();
}

void OrxSettings::_createDefault()
{
    m_settings->beginGroup("MainWindow");
    m_settings->setValue("OffsetX", 0);
    m_settings->setValue("OffsetY", 0);
    m_settings->setValue("Width", 800);
    m_settings->setValue("Height", 600);
    m_settings->endGroup();

    // Every directory starts at the data root; only the later validation
    // falls back to the matching subfolders.
    m_settings->beginGroup("Directory");
    m_settings->setValue("SaveImageDir", m_dataRootDir);
    m_settings->setValue("SettingsFileDir", m_dataRootDir);
    m_settings->setValue("SPSettingsFileDir", m_dataRootDir);
    m_settings->setValue("PDCSettingsFileDir", m_dataRootDir);
    m_settings->setValue("SHCSettingsFileDir", m_dataRootDir);
    m_settings->setValue("fileAccessFileDir", m_dataRootDir);
    m_settings->endGroup();
    m_settings->sync();
}

void OrxSettings::_createDefaultCCM()
{
    OrxSettingsDefaults::writeColourProfiles(*m_ccmSettings);
    m_ccmSettings->sync();
}

void OrxSettings::_createDefaultDeffMatch()
{
    OrxSettingsDefaults::writeDefectMatchTable(*m_deffMatchSettings);
    m_deffMatchSettings->sync();
}

// Kept for the user-map slots of the camera; no start-up path writes them.
void OrxSettings::_createUserMapSettings()
{
    OrxSettingsDefaults::writeUserMapTable(*m_settings);
    m_settings->sync();
}

void OrxSettings::_validate()
{
    // The checked entries live under Settings/Directory, and only one of the
    // two groups is closed again: "Settings" stays open for the rest of the
    // run, so every later Get/Set of this run addresses Settings/<group>/<key>.
    // Existing settings files depend on this layout.
    m_settings->beginGroup("Settings");
    m_settings->beginGroup("Directory");

    const struct
    {
        const char* key;
        const QString& fallback;
    } checked[] = {
        {"SaveImageDir", m_dataRootDir},      {"SettingsFileDir", m_dataRootDir},
        {"SPSettingsFileDir", m_dataRootDir}, {"PDCSettingsFileDir", m_defectPixelDir},
        {"SHCSettingsFileDir", m_shadingDir},
    };
    for (const auto& entry : checked) {
        const QString key = QString::fromLatin1(entry.key);
        if (!_isKeyValid(key, m_settings->value(key, QVariant())))
            m_settings->setValue(key, entry.fallback);
    }

    m_settings->endGroup();
    m_settings->sync();
}

bool OrxSettings::_validateDir(QString path)
{
    const QFileInfo info(path);
    if (!info.isDir() || !info.isWritable())
        return false;

    // The probe name is the path with "\Empty.txt" appended, so on this
    // platform it lands beside the folder, in its parent. The probe is always
    // removed again, whether or not it could be created.
    QFile probe(path + "\\Empty.txt");
    const bool opened = probe.open(QIODevice::ReadWrite);
    if (opened)
        probe.close();
    probe.remove();
    return opened;
}

bool OrxSettings::_isKeyValid(const QString& key, QVariant value)
{
    static const QStringList directoryKeys = {"SaveImageDir", "SettingsFileDir",
                                              "SPSettingsFileDir", "PDCSettingsFileDir",
                                              "SHCSettingsFileDir"};
    if (directoryKeys.contains(key, Qt::CaseSensitive))
        return _validateDir(value.toString());
    return false;
}
