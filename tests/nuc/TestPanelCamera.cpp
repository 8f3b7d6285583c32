// The assistant panel bound to simulated cameras: what Init puts into the map
// selector, which buttons it enables, what Reset takes back
// and the panel's direct camera settings.
#include "CameraSession.h"
#include "NucMapFile.h"
#include "OrxNUShadingCorrection.h"
#include "OrxPixmapLabel.h"
#include "OxFeatureContainer.h"
#include "ScriptedDialogs.h"
#include "TestImages.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// The panel's own state, which the tests compare with what Init and Reset
// must leave behind.
class InspectedPanel : public OrxNUShadingCorrection
{
public:
    using OrxNUShadingCorrection::camera;
    using OrxNUShadingCorrection::endianess;
    using OrxNUShadingCorrection::featureContainer;
    using OrxNUShadingCorrection::fileAccessAvailable;
    using OrxNUShadingCorrection::hasNucControl;
    using OrxNUShadingCorrection::imageFormat;
    using OrxNUShadingCorrection::input;
    using OrxNUShadingCorrection::mapId;
    using OrxNUShadingCorrection::noMapSelector;
    using OrxNUShadingCorrection::registerAccess;

    template <typename T> T* child(const char* name) const
    {
        T* widget = findChild<T*>(name);
        Q_ASSERT(widget);
        return widget;
    }
    QComboBox* selector() const { return child<QComboBox>("cmbShadingMapSelector"); }

    QVariantList roleValues(int role) const
    {
        QVariantList values;
        for (int i = 0; i < selector()->count(); ++i)
            values << selector()->itemData(i, role);
        return values;
    }
    QStringList entryTexts() const
    {
        QStringList texts;
        for (int i = 0; i < selector()->count(); ++i)
            texts << selector()->itemText(i);
        return texts;
    }
    // Download, upload local, upload generated, save.
    QList<bool> transferButtons() const
    {
        return {child<QPushButton>("btnDownloadMapToFile")->isEnabled(),
                child<QPushButton>("btnUploadLocalMap")->isEnabled(),
                child<QPushButton>("btnUploadMapToCam")->isEnabled(),
                child<QPushButton>("btnSaveMapToFile")->isEnabled()};
    }
};

QVariantList repeated(const QVariant& value, int n)
{
    QVariantList list;
    for (int i = 0; i < n; ++i)
        list << value;
    return list;
}

const QVariant none;

// Cameras beside the default set, for the selector's filling rules.
const char* const kExtraCameras[] = {
    R"js({"id": "NOZERO-1", "model": "kva640MXGE",
            "width": 16, "height": 8, "files": [
              {"selector": "ShadingMap1", "kind": "shadingMap", "chunkId": 8193},
              {"selector": "ShadingMap2", "kind": "shadingMap", "chunkId": 8193}]})js",
    R"js({"id": "IDS-1", "model": "kva640MXGE",
            "name": "Camera IDS", "manufacturerInfo": "3.2.1 (2026-04-01)",
            "width": 16, "height": 8, "files": [
              {"selector": "Notes", "kind": "plain"},
              {"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8192},
              {"selector": "ShadingMap1", "kind": "shadingMap", "chunkId": 8193},
              {"selector": "ShadingMap2", "kind": "shadingMap", "chunkId": 8194},
              {"selector": "ShadingMap3", "kind": "shadingMap", "chunkId": 8195},
              {"selector": "ShadingMap4", "kind": "shadingMap", "chunkId": 8196},
              {"selector": "ShadingMap5", "kind": "shadingMap", "chunkId": 2432},
              {"selector": "ShadingMap6", "kind": "shadingMap", "chunkId": 8191},
              {"selector": "ShadingMap7", "kind": "shadingMap", "chunkId": 2433}]})js",
    R"js({"id": "BOTH-1", "transport": "USB3",
            "model": "zt1280MLV", "width": 16, "height": 8, "nucUserMaps": 2, "files": [
              {"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8193},
              {"selector": "Userfile", "kind": "userMap"}]})js",
    R"js({"id": "MODES-1", "model": "kva640MXGE",
            "width": 16, "height": 8, "files": [
              {"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8193},
              {"selector": "ShadingMap1", "kind": "shadingMap", "chunkId": 8193, "write": false},
              {"selector": "ShadingMap2", "kind": "shadingMap", "chunkId": 8193, "read": false}]})js",
};

} // namespace

class TestPanelCamera : public QObject
{
    Q_OBJECT

    std::unique_ptr<CameraSession> session;
    QTemporaryDir dir;

    QString dark() const { return dir.filePath("dark.png"); }
    QString bright() const { return dir.filePath("bright.png"); }

    // Opens the camera and binds the panel to it; the panel owns the camera.
    bool bind(InspectedPanel& panel, const char* id, bool* initResult = nullptr)
    {
        OxCamera* camera = session->open(id);
        if (camera == nullptr)
            return false;
        const bool ok = panel.Init(camera);
        if (initResult)
            *initResult = ok;
        return true;
    }
    // As the main window does it: close through the manager, then reset.
    void unbind(InspectedPanel& panel, const char* id)
    {
        session->close(id);
        panel.Reset();
    }

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        QVERIFY(TestImages::write(TestImages::grey8(8, 4, [](int, int) { return 12; }), dark(),
                                  QImage::Format_Grayscale8));
        QVERIFY(TestImages::write(TestImages::grey8(8, 4, [](int x, int) { return 150 + x; }),
                                  bright(), QImage::Format_Grayscale8));

        session = std::make_unique<CameraSession>();
        QVERIFY(session->ok());
        QCOMPARE(session->sim->AddCamera(kExtraCameras[0]), 0);
        QCOMPARE(session->sim->AddCamera(kExtraCameras[1]), 0);
        QCOMPARE(session->sim->AddCamera(kExtraCameras[2]), 0);
        QCOMPARE(session->sim->AddCamera(kExtraCameras[3]), 0);
    }

    void cleanupTestCase() { session.reset(); }

    // A failed check leaves its camera open; the next case needs it closed.
    void cleanup()
    {
        for (const char* id : {"SIM-GIGE-1001", "SIM-U3V-2001", "SIM-GIGE-3001", "NOZERO-1",
                               "IDS-1", "BOTH-1", "MODES-1"})
            session->close(id);
    }

    void initFillsSelector_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<bool>("usable");
        QTest::addColumn<QString>("label");
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<QVariantList>("fileNames");    // role 256
        QTest::addColumn<QVariantList>("readBlocked");  // role 257
        QTest::addColumn<QVariantList>("writeBlocked"); // role 258
        QTest::addColumn<QVariantList>("chunkIds");     // role 259
        QTest::addColumn<bool>("hasNucControl");
        QTest::addColumn<bool>("noMapSelector");
        QTest::addColumn<bool>("fileAccessAvailable");
        QTest::addColumn<bool>("bigEndian");

        QTest::newRow("default GigE camera")
            << "SIM-GIGE-1001" << true << "Orvex kva640 Lab A\nFirmware: 3.2.7 (2026-03-14)"
            << QStringList{"ShadingMap0", "ShadingMap1", "ShadingMap3"} << repeated(none, 3)
            << repeated(false, 3) << QVariantList{false, false, true}
            << QVariantList{8193, 8196, 2432} << false << false << true << true;
        QTest::newRow("default USB3 user map camera")
            << "SIM-U3V-2001" << true << "Orvex zt1280 Line 2\nFirmware: 1.9.4 (2026-01-22)"
            << QStringList{"NucUserMap0", "NucUserMap1", "NucUserMap2", "NucUserMap3"}
            << QVariantList{"nuc_usermap0.ge3", "nuc_usermap1.ge3", "nuc_usermap2.ge3",
                            "nuc_usermap3.ge3"}
            << repeated(false, 4) << repeated(false, 4) << repeated(none, 4) << true << true << true
            << false;
        QTest::newRow("default incompatible camera")
            << "SIM-GIGE-3001" << false << "Yard camera\nFirmware: 0.8.2" << QStringList()
            << QVariantList() << QVariantList() << QVariantList() << QVariantList() << false << true
            << false << true;
        QTest::newRow("map slots numbered from 1")
            << "NOZERO-1" << false << "kva640MXGE\nFirmware: " << QStringList() << QVariantList()
            << QVariantList() << QVariantList() << QVariantList() << false << true << false << true;
        QTest::newRow("only map ids the program makes")
            << "IDS-1" << true << "Camera IDS\nFirmware: 3.2.1 (2026-04-01)"
            << QStringList{"ShadingMap0", "ShadingMap1", "ShadingMap4", "ShadingMap5"}
            << repeated(none, 4) << repeated(false, 4) << repeated(false, 4)
            << QVariantList{8192, 8193, 8196, 2432} << false << false << true << true;
        QTest::newRow("shading maps and user maps")
            << "BOTH-1" << true
            << "zt1280MLV\nFirmware: " << QStringList{"ShadingMap0", "NucUserMap0", "NucUserMap1"}
            << QVariantList{none, "nuc_usermap0.ge3", "nuc_usermap1.ge3"} << repeated(false, 3)
            << repeated(false, 3) << QVariantList{8193, none, none} << true << false << true
            << false;
    }

    void initFillsSelector()
    {
        QFETCH(QString, id);
        QFETCH(bool, usable);
        QFETCH(QString, label);
        QFETCH(QStringList, entries);
        QFETCH(QVariantList, fileNames);
        QFETCH(QVariantList, readBlocked);
        QFETCH(QVariantList, writeBlocked);
        QFETCH(QVariantList, chunkIds);

        InspectedPanel panel;
        panel.child<QLineEdit>("TargetOffsetEdit")->setText("3");
        bool initResult = !usable;
        QVERIFY(bind(panel, id.toLatin1().constData(), &initResult));
        QCOMPARE(initResult, usable);
        QCOMPARE(panel.child<QLabel>("lblCameraName")->text(), label);
        QCOMPARE(panel.entryTexts(), entries);
        QCOMPARE(panel.roleValues(Qt::UserRole), fileNames);
        QCOMPARE(panel.roleValues(Qt::UserRole + 1), readBlocked);
        QCOMPARE(panel.roleValues(Qt::UserRole + 2), writeBlocked);
        QCOMPARE(panel.roleValues(Qt::UserRole + 3), chunkIds);
        QTEST(panel.hasNucControl, "hasNucControl");
        QTEST(panel.noMapSelector, "noMapSelector");
        QTEST(panel.fileAccessAvailable, "fileAccessAvailable");
        QTEST(panel.endianess, "bigEndian");
        QCOMPARE(panel.child<QWidget>("targetUserMapFileWidget")->isHidden(), !panel.hasNucControl);
        QCOMPARE(panel.input.bitDepth, 0);
        QCOMPARE(panel.imageFormat, QImage::Format_Indexed8);
        QCOMPARE(panel.child<QLineEdit>("TargetOffsetEdit")->text(), QString("16"));
        QVERIFY(panel.featureContainer != nullptr);
        unbind(panel, id.toLatin1().constData());
    }

    void enableButtons_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<int>("entry"); // -1: the camera has no map slot entry
        QTest::addColumn<bool>("images");
        QTest::addColumn<QList<bool>>("buttons"); // download, upload local, upload, save

        using B = QList<bool>;
        QTest::newRow("open entry") << "MODES-1" << 0 << false << B{true, true, false, false};
        QTest::newRow("open entry, images") << "MODES-1" << 0 << true << B{true, true, true, true};
        QTest::newRow("write blocked") << "MODES-1" << 1 << false << B{true, false, false, false};
        QTest::newRow("write blocked, images")
            << "MODES-1" << 1 << true << B{true, false, false, true};
        QTest::newRow("read blocked") << "MODES-1" << 2 << false << B{false, true, false, false};
        QTest::newRow("read blocked, images")
            << "MODES-1" << 2 << true << B{false, true, true, true};
        QTest::newRow("user maps only")
            << "SIM-U3V-2001" << 1 << false << B{true, true, false, false};
        QTest::newRow("user maps only, images")
            << "SIM-U3V-2001" << 1 << true << B{true, true, true, true};
        QTest::newRow("no selector")
            << "SIM-GIGE-3001" << -1 << false << B{false, false, false, false};
        QTest::newRow("no selector, images")
            << "SIM-GIGE-3001" << -1 << true << B{false, false, false, true};
    }

    void enableButtons()
    {
        QFETCH(QString, id);
        QFETCH(int, entry);
        QFETCH(bool, images);
        QFETCH(QList<bool>, buttons);

        ScriptedDialogs dialogs;
        InspectedPanel panel;
        QVERIFY(bind(panel, id.toLatin1().constData()));
        if (images) {
            QVERIFY(panel.loadImagefromFile(dark(), 1));
            QVERIFY(panel.loadImagefromFile(bright(), 2));
        }
        if (entry >= 0) {
            // The operator picks the entry; the choice re-evaluates the buttons.
            panel.selector()->setCurrentIndex(entry);
            emit panel.selector()->activated(entry);
        } else {
            QCOMPARE(panel.selector()->count(), 0);
            panel.enableButtons();
        }
        QCOMPARE(panel.transferButtons(), buttons);
        QVERIFY(dialogs.calls.isEmpty());
        unbind(panel, id.toLatin1().constData());
    }

    void resetRestoresEveryField()
    {
        ScriptedDialogs dialogs;
        InspectedPanel panel;
        QVERIFY(bind(panel, "SIM-GIGE-1001"));
        QPointer<OxCamera> camera = panel.camera;
        dialogs.answer(QStringList{dark()});
        panel.child<QPushButton>("btnAddDarkImage")->click();
        dialogs.answer(QStringList{bright()});
        panel.child<QPushButton>("btnAddBrightImage")->click();
        QCOMPARE(panel.child<QListWidget>("listBrightImagePath")->count(), 1);
        panel.selector()->setCurrentIndex(1);
        panel.child<QPushButton>("btnGenerateMap")->click();
        QCOMPARE(dialogs.calls.last().text, QString("Generate map successful!"));
        QCOMPARE(panel.mapId, 8196);
        QVERIFY(panel.input.brightParams.map != nullptr);
        QCOMPARE(panel.input.bitDepth, 8);
        panel.registerAccess = true;

        unbind(panel, "SIM-GIGE-1001");
        QVERIFY(camera.isNull());
        QCOMPARE(panel.camera, nullptr);
        QCOMPARE(panel.featureContainer, nullptr);
        QCOMPARE(panel.input.width, 0u);
        QCOMPARE(panel.input.height, 0u);
        QCOMPARE(panel.input.darkParams.count, 0u);
        QCOMPARE(panel.input.brightParams.count, 0u);
        QVERIFY(panel.input.darkParams.map == nullptr);
        QVERIFY(panel.input.brightParams.map == nullptr);
        QCOMPARE(panel.imageFormat, QImage::Format_Grayscale16);
        QCOMPARE(panel.input.bitDepth, 0);
        QCOMPARE(panel.endianess, true);
        QCOMPARE(panel.noMapSelector, false);
        QCOMPARE(panel.registerAccess, false);
        QCOMPARE(panel.fileAccessAvailable, false);
        QCOMPARE(panel.mapId, 8193);
        QCOMPARE(panel.child<QListWidget>("listDarkImagePath")->count(), 0);
        QCOMPARE(panel.child<QListWidget>("listBrightImagePath")->count(), 0);
        QVERIFY(panel.child<OrxPixmapLabel>("lblMeanImageDark")->image().isNull());
        QVERIFY(panel.child<OrxPixmapLabel>("lblMeanImageBright")->image().isNull());
        QCOMPARE(panel.selector()->count(), 0);
        QVERIFY(!panel.isParamlocked());

        // A new camera starts from scratch: no images, so nothing to save.
        QVERIFY(bind(panel, "SIM-U3V-2001"));
        QCOMPARE(panel.transferButtons(), (QList<bool>{true, true, false, false}));
        QVERIFY(panel.child<QWidget>("targetUserMapFileWidget")->isVisibleTo(&panel));
        unbind(panel, "SIM-U3V-2001");
        QVERIFY(panel.child<QWidget>("targetUserMapFileWidget")->isHidden());
    }

    void shadingCorrectionByFeatures()
    {
        InspectedPanel panel;
        QVERIFY(bind(panel, "SIM-GIGE-1001"));
        OxFeatureContainer* features = panel.featureContainer;
        QVariant value;

        QVERIFY(panel.setShadingCorrectionControlEnable(true));
        QVERIFY(features->GetValue("Shading_Control", value));
        QCOMPARE(value.toLongLong(), 1);
        bool on = false;
        QVERIFY(panel.getShadingCorrectionControlEnable(&on));
        QVERIFY(on);

        QVERIFY(panel.setSelectedShadingCorrectionMap(QVariant(qlonglong(2))));
        QVERIFY(features->GetValue("Shading_MapSelect", value));
        QCOMPARE(value.toLongLong(), 2);
        QVariant selected;
        QVERIFY(panel.getSelectedShadingCorrectionMap(selected));
        QCOMPARE(selected.toLongLong(), 2);

        // The same settings through the camera's registers.
        panel.registerAccess = true;
        unsigned int reg = 0;
        QVERIFY(panel.GetRegValue(0x105FFFE0, &reg));
        QCOMPARE(reg, 1u);
        QVERIFY(panel.getSelectedShadingCorrectionMap(selected));
        QCOMPARE(selected.toUInt(), 2u);
        QVERIFY(panel.setShadingCorrectionControlEnable(false));
        QVERIFY(panel.getShadingCorrectionControlEnable(&on));
        QVERIFY(!on);
        QVERIFY(features->GetValue("Shading_Control", value));
        QCOMPARE(value.toLongLong(), 0);
        QVERIFY(panel.setSelectedShadingCorrectionMap(1));
        QVERIFY(features->GetValue("Shading_MapSelect", value));
        QCOMPARE(value.toLongLong(), 1);
        unbind(panel, "SIM-GIGE-1001");
    }

    void userMapCameraHasNoShadingSwitch()
    {
        InspectedPanel panel;
        QVERIFY(bind(panel, "SIM-U3V-2001"));
        bool on = true;
        QVERIFY(!panel.getShadingCorrectionControlEnable(&on));
        QVERIFY(!panel.setShadingCorrectionControlEnable(true));
        // The user map is passed on, but the answer is always "not done".
        QVERIFY(!panel.setSelectedShadingCorrectionMap(QString("NucUserMap1")));
        QVariant selected;
        QVERIFY(panel.getSelectedShadingCorrectionMap(selected));
        QCOMPARE(selected.toString(), QString("NucUserMap1"));
        unbind(panel, "SIM-U3V-2001");
    }

    void streamingLocksParameters()
    {
        InspectedPanel panel;
        QVERIFY(!panel.isParamlocked()); // no camera
        QVERIFY(bind(panel, "SIM-GIGE-1001"));
        QVERIFY(!panel.isParamlocked());
        QVERIFY(panel.featureContainer->SetCommand("AcquisitionStart", 0));
        QVERIFY(panel.isParamlocked());
        QVERIFY(panel.featureContainer->SetCommand("AcquisitionStop", 0));
        QVERIFY(!panel.isParamlocked());
        unbind(panel, "SIM-GIGE-1001");
    }

    void userMapSelectionAndLocalUpload()
    {
        ScriptedDialogs dialogs;
        InspectedPanel panel;
        QVERIFY(bind(panel, "SIM-U3V-2001"));
        QVariant value;

        panel.SetUserMap("NucUserMap2");
        QVERIFY(panel.featureContainer->GetValue("nucControl", value));
        QCOMPARE(value.toLongLong(), 7);
        QCOMPARE(panel.selector()->currentIndex(), 2);
        panel.SetUserMap("nucusermap1"); // no such entry: nothing changes
        QVERIFY(panel.featureContainer->GetValue("nucControl", value));
        QCOMPARE(value.toLongLong(), 7);
        QCOMPARE(panel.selector()->currentIndex(), 2);

        // A user map file of the sensor's size goes to the selected slot.
        QVector<quint16> words(1280 * 1024);
        for (int i = 0; i < words.size(); ++i)
            words[i] = quint16(i * 7);
        const QByteArray file = NucMapFile::userMapFile(1280, 1024, words);
        QFile out(dir.filePath("nuc_usermap2.ge3"));
        QVERIFY(out.open(QIODevice::WriteOnly));
        out.write(file);
        out.close();
        QVERIFY(panel.LoadDopoMap(dir.path()));
        std::vector<uint8_t> stored;
        QCOMPARE(
            session->sim->ReadStoredFile("SIM-U3V-2001", "Userfile", "nuc_usermap2.ge3", stored),
            0);
        QCOMPARE(QByteArray(reinterpret_cast<const char*>(stored.data()), int(stored.size())),
                 file);
        QVERIFY(dialogs.calls.isEmpty());
        unbind(panel, "SIM-U3V-2001");
    }
};

QTEST_MAIN(TestPanelCamera)
#include "TestPanelCamera.moc"
