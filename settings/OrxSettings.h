#pragma once

#include <QString>
#include <QVariant>

#include <memory>

class QSettings;

// The program's persistent settings: the main file "OxTools.ini" (reached
// through Get/Set), the colour-profile and defect-match files beside it, and
// the per-user data folder tree under Documents. One instance per process,
// created on first use; only the GUI thread touches it.
class OrxSettings
{
public:
    static OrxSettings* getInstance();

    QVariant Get(const QString& group, const QString& key, const QVariant& defaultValue);
    void Set(const QString& group, const QString& key, const QVariant& value);

    OrxSettings(const OrxSettings&) = delete;
    OrxSettings& operator=(const OrxSettings&) = delete;

private:
    OrxSettings();
    ~OrxSettings();

    void _createDefault();
    void _createDefaultCCM();
    void _createDefaultDeffMatch();
    void _createUserMapSettings();
    void _validate();
    bool _validateDir(QString path);
    bool _isKeyValid(const QString& key, QVariant value);

    std::unique_ptr<QSettings> m_settings;
    std::unique_ptr<QSettings> m_ccmSettings;
    std::unique_ptr<QSettings> m_deffMatchSettings;
    QString m_dataRootDir;
    QString m_imagesDir;
    QString m_logsDir;
    QString m_settingsDir;
    QString m_defectPixelDir;
    QString m_shadingDir;
    QString m_fileAccessDir;
};
