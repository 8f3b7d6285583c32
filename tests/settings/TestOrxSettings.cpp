#include "TestFiles.h"

#include <QtTest>

#include <memory>

#include <sys/stat.h>
#include <unistd.h>

// Every start of the program is a run of the settings runner in a home of
// the test's own. When the test runs as root the runs drop to an unprivileged
// user, since root writes into read-only folders and would hide that case.
class TestOrxSettings : public QObject
{
    Q_OBJECT

private:
    static constexpr uint kUnprivilegedId = 65534;

    std::unique_ptr<QTemporaryDir> m_tmp;
    QString m_home;
    bool m_dropToUser = false;
    bool m_canMakeReadOnly = true;

    QString configDir() const { return m_home + "/.config/Varnholt Technologies/OxTools"; }
    QString mainFile() const { return configDir() + "/OxTools.ini"; }
    QString dataRoot() const { return m_home + "/Documents/OxTools"; }

    void makeHome(bool withDocuments)
    {
        m_tmp = std::make_unique<QTemporaryDir>();
        QVERIFY(m_tmp->isValid());
        m_home = m_tmp->path() + "/home";
        QVERIFY(QDir().mkpath(m_home + "/.config"));
        if (withDocuments)
            QVERIFY(QDir().mkpath(m_home + "/Documents"));
        handOver(m_tmp->path());
    }

    // Gives a folder tree made by the test to the user the runs act as.
    void handOver(const QString& path)
    {
        if (!m_dropToUser)
            return;
        QVERIFY(lchown(QFile::encodeName(path).constData(), kUnprivilegedId, kUnprivilegedId) == 0);
        QDirIterator it(path, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QByteArray entry = QFile::encodeName(it.next());
            QVERIFY(lchown(entry.constData(), kUnprivilegedId, kUnprivilegedId) == 0);
        }
    }

    int runExitCode(const QStringList& commands, QStringList* output)
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("HOME", m_home);
        env.insert("XDG_CONFIG_HOME", m_home + "/.config");
        env.insert("XDG_DATA_HOME", m_home + "/.local/share");
        env.insert("XDG_CACHE_HOME", m_home + "/.cache");
        env.remove("XDG_RUNTIME_DIR");
        QProcess process;
        process.setProcessEnvironment(env);
        QStringList args;
        if (m_dropToUser)
            args << "--uid" << QString::number(kUnprivilegedId);
        process.start(SETTINGS_RUNNER, args + commands);
        if (!process.waitForFinished(30000))
            return -1;
        const QByteArray errors = process.readAllStandardError();
        if (!errors.isEmpty())
            qWarning("runner: %s", errors.constData());
        if (output)
            *output =
                QString::fromUtf8(process.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    bool start(const QStringList& commands = {}, QStringList* output = nullptr)
    {
        return runExitCode(commands, output) == 0;
    }

    QString get(const QString& key)
    {
        QStringList output;
        if (!start({"get", "Directory", key}, &output) || output.size() != 1)
            return "<run failed>";
        const QString prefix = "Directory/" + key + "=";
        return output[0].startsWith(prefix) ? output[0].mid(prefix.size()) : "<bad output>";
    }

    // Expected file contents with "@" standing for a folder.
    static QByteArray withRoot(QByteArray text, const QString& root)
    {
        return text.replace('@', QFile::encodeName(root));
    }

    // The main file as the first start leaves it.
    QByteArray firstStartFile() const
    {
        return withRoot("[Directory]\n"
                        "PDCSettingsFileDir=@\n"
                        "SHCSettingsFileDir=@\n"
                        "SPSettingsFileDir=@\n"
                        "SaveImageDir=@\n"
                        "SettingsFileDir=@\n"
                        "fileAccessFileDir=@\n"
                        "\n"
                        "[MainWindow]\n"
                        "Height=600\n"
                        "OffsetX=0\n"
                        "OffsetY=0\n"
                        "Width=800\n",
                        dataRoot());
    }

    // Names of every file below the temporary tree that looks like a left-over
    // directory probe.
    QStringList probeFiles() const
    {
        QStringList found;
        QDirIterator it(m_tmp->path(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            it.next();
            if (it.fileName().contains("Empty.txt"))
                found << it.filePath();
        }
        return found;
    }

private slots:
    // Makes the read-only folders removable again, also after a failure.
    void cleanup()
    {
        if (!m_tmp)
            return;
        const QFile::Permissions all = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
        for (const char* locked : {"/readonly", "/lockedparent"}) {
            if (QFileInfo::exists(m_tmp->path() + locked))
                QFile::setPermissions(m_tmp->path() + locked, all);
        }
        m_tmp.reset();
    }

    void initTestCase()
    {
        if (geteuid() != 0)
            return;
        m_dropToUser = true;
        makeHome(true);
        if (runExitCode({}, nullptr) == 3) {
            // No way to act as another user here: the runs go as root, and the
            // read-only cases cannot be made.
            m_dropToUser = false;
            m_canMakeReadOnly = false;
        }
    }

    void firstStartWritesDefaults()
    {
        makeHome(true);
        QVERIFY(start());

        QCOMPARE(readFile(mainFile(), "<missing>"), firstStartFile());
        for (const char* sub :
             {"", "/images", "/logs", "/ShadingCorr", "/DefectPixelCorr", "/FileAccess"})
            QVERIFY2(QFileInfo(dataRoot() + sub).isDir(), sub);
    }

    // The data folders are made one level at a time: without a Documents
    // folder none of them appears, while the settings files are still written.
    void firstStartWithoutDocumentsFolder()
    {
        makeHome(false);
        QStringList output;
        QVERIFY(start({"set", "Directory", "SHCSettingsFileDir", "/maps", "get", "Directory",
                       "SHCSettingsFileDir"},
                      &output));
        // A Set on the first start lands in the Directory group.
        QCOMPARE(output, QStringList{"Directory/SHCSettingsFileDir=/maps"});
        QCOMPARE(readFile(mainFile(), "<missing>"),
                 firstStartFile().replace("SHCSettingsFileDir=" + QFile::encodeName(dataRoot()),
                                          "SHCSettingsFileDir=/maps"));
        QVERIFY(!QFileInfo::exists(m_home + "/Documents"));
        QVERIFY(QFileInfo::exists(configDir() + "/ccprofiles.ini"));
        QVERIFY(QFileInfo::exists(configDir() + "/deffmatch.ini"));
    }

    // From the second start on the validated entries live under
    // Settings/Directory, and every Get/Set of the run goes there.
    void secondStartValidatesIntoSettingsGroup()
    {
        makeHome(true);
        QVERIFY(start());
        // A changed colour-profile file is left alone on later starts.
        {
            QSettings profiles(configDir() + "/ccprofiles.ini", QSettings::IniFormat);
            profiles.remove("Profile SRGB Weighted");
        }

        const QStringList before = QDir(dataRoot()).entryList(QDir::AllEntries | QDir::Hidden);
        QCOMPARE(get("SHCSettingsFileDir"), dataRoot() + "/ShadingCorr");
        // The probe leaves nothing behind, beside or inside a folder that passes.
        QCOMPARE(QDir(dataRoot()).entryList(QDir::AllEntries | QDir::Hidden), before);
        QVERIFY(QDir(dataRoot() + "/ShadingCorr")
                    .isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));

        const QByteArray validated = withRoot("\n[Settings]\n"
                                              "Directory\\PDCSettingsFileDir=@/DefectPixelCorr\n"
                                              "Directory\\SHCSettingsFileDir=@/ShadingCorr\n"
                                              "Directory\\SPSettingsFileDir=@\n"
                                              "Directory\\SaveImageDir=@\n"
                                              "Directory\\SettingsFileDir=@\n",
                                              dataRoot());
        QCOMPARE(readFile(mainFile(), "<missing>"), firstStartFile() + validated);

        QVERIFY(start({"set", "Directory", "SaveImageDir", dataRoot() + "/images"}));
        QSettings written(mainFile(), QSettings::IniFormat);
        QCOMPARE(written.value("Settings/Directory/SaveImageDir").toString(),
                 dataRoot() + "/images");
        QCOMPARE(written.value("Directory/SaveImageDir").toString(), dataRoot());

        QSettings profiles(configDir() + "/ccprofiles.ini", QSettings::IniFormat);
        QCOMPARE(profiles.childGroups(), QStringList({"Profile SRGB", "Profiles"}));
        QVERIFY(probeFiles().isEmpty());
    }

    void storedDirectoryIsChecked_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<bool>("needsReadOnly");

        // "@" stands for the temporary tree, "~" for the data root.
        auto row = [](const char* name, const char* key, const char* stored, const char* expected,
                      bool needsReadOnly) {
            QTest::newRow(name) << QString(key) << QString(stored) << QString(expected)
                                << needsReadOnly;
        };
        row("writable folder kept", "SaveImageDir", "@/work", "@/work", false);
        row("read-only folder replaced", "SaveImageDir", "@/readonly", "~", true);
        row("folder in read-only parent replaced", "SettingsFileDir", "@/lockedparent/inner", "~",
            true);
        row("missing folder replaced", "SPSettingsFileDir", "@/gone", "~", false);
        row("file instead of folder replaced", "PDCSettingsFileDir", "@/plain.txt",
            "~/DefectPixelCorr", false);
        row("empty value replaced", "SHCSettingsFileDir", "", "~/ShadingCorr", false);
        row("read-only shading folder replaced", "SHCSettingsFileDir", "@/readonly",
            "~/ShadingCorr", true);
        row("file access folder never corrected", "fileAccessFileDir", "@/gone", "@/gone", false);
        row("read-only file access folder kept", "fileAccessFileDir", "@/readonly", "@/readonly",
            true);
    }

    void storedDirectoryIsChecked()
    {
        QFETCH(QString, key);
        QFETCH(QString, stored);
        QFETCH(QString, expected);
        QFETCH(bool, needsReadOnly);
        if (needsReadOnly && !m_canMakeReadOnly)
            QSKIP("running as root without a way to act as another user");

        makeHome(true);
        const QString tmp = m_tmp->path();
        QVERIFY(QDir().mkpath(tmp + "/work"));
        QVERIFY(QDir().mkpath(tmp + "/readonly"));
        QVERIFY(QDir().mkpath(tmp + "/lockedparent/inner"));
        QFile plain(tmp + "/plain.txt");
        QVERIFY(plain.open(QIODevice::WriteOnly));
        plain.close();
        handOver(tmp);
        QVERIFY(QFile::setPermissions(tmp + "/readonly", QFile::ReadOwner | QFile::ExeOwner));
        QVERIFY(QFile::setPermissions(tmp + "/lockedparent", QFile::ReadOwner | QFile::ExeOwner));

        // First start writes the defaults, second opens Settings/Directory,
        // where the third stores the value that the fourth start checks.
        stored.replace('@', tmp);
        expected.replace('@', tmp).replace('~', dataRoot());
        QVERIFY(start());
        QVERIFY(start());
        QVERIFY(start({"set", "Directory", key, stored}));
        QCOMPARE(get(key), expected);

        QVERIFY2(probeFiles().isEmpty(), qPrintable(probeFiles().join(", ")));
    }
};

QTEST_GUILESS_MAIN(TestOrxSettings)
#include "TestOrxSettings.moc"
