// Device file transfers of the camera wrapper against simulated cameras:
// what the caller gets (result, byte counts, progress) and what the camera
// saw (the feature writes, the stored file afterwards).

#include "OxCamera.h"
#include "OxCameraFeature.h"
#include "SimSession.h"

#include <Hvx/Camera.h>

#include <QFile>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

namespace {

const char* const kCam = "SIM-FA-1";
constexpr int kSeventy = 70000;

std::vector<unsigned char> pattern(int size, int seed = 0)
{
    std::vector<unsigned char> bytes(static_cast<size_t>(size));
    for (int i = 0; i < size; ++i)
        bytes[size_t(i)] = static_cast<unsigned char>((i * 7 + i / 251 + seed) & 0xff);
    return bytes;
}

QByteArray toBytes(const std::vector<unsigned char>& v)
{
    return QByteArray(reinterpret_cast<const char*>(v.data()), int(v.size()));
}

QByteArray seventyText()
{
    QByteArray text;
    for (int i = 0; text.size() < kSeventy; ++i)
        text += QByteArray::number(i % 100000).rightJustified(6, '0') + '\n';
    return text.left(kSeventy);
}

QJsonObject fileEntry(const char* selector, const QByteArray& content = QByteArray(),
                      bool write = true)
{
    return QJsonObject{{"selector", selector},
                       {"kind", "plain"},
                       {"content", QString::fromLatin1(content)},
                       {"write", write}};
}

// settings: further keys of the camera's description.
QJsonObject fileCamera(const QJsonObject& faults = QJsonObject(),
                       const QJsonObject& settings = QJsonObject())
{
    QJsonObject cam = SimSession::cameraJson(kCam);
    cam.insert("files",
               QJsonArray{fileEntry("Userfile", "previous"), fileEntry("Seventy", seventyText()),
                          fileEntry("Empty"), fileEntry("ReadOnly", "factory", false)});
    for (auto it = settings.begin(); it != settings.end(); ++it)
        cam.insert(it.key(), it.value());
    if (!faults.isEmpty())
        cam.insert("faults", faults);
    return cam;
}

QJsonObject failFeature(const char* feature, const char* op = "set")
{
    return QJsonObject{{"failFeatures", QJsonArray{QJsonObject{{"feature", feature}, {"op", op}}}}};
}

// how: further keys of the fault ("statusOnly", "bytes").
QJsonObject failOperation(const char* operation, int chunk = 0, const QJsonObject& how = {})
{
    QJsonObject o{{"operation", operation}, {"chunk", chunk}};
    for (auto it = how.begin(); it != how.end(); ++it)
        o.insert(it.key(), it.value());
    return QJsonObject{{"failOperations", QJsonArray{o}}};
}

const QJsonObject kStatusOnly{{"statusOnly", true}};

QList<qint64> remainingValues(const QSignalSpy& spy, const QString& operation)
{
    QList<qint64> values;
    for (const QList<QVariant>& args : spy) {
        if (args.at(1).toString() != QLatin1String("map.bin") || args.at(2).toString() != operation)
            values << -999; // wrong name or operation shows up as a mismatch
        else
            values << args.at(0).toLongLong();
    }
    return values;
}

// An opened simulated camera wrapped for the test.
struct Fixture : OpenedSimCamera
{
    explicit Fixture(const QJsonObject& camera) : OpenedSimCamera(kCam, camera) {}
    OxCamera& camera() { return *wrapper; }
};

QByteArray fileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

} // namespace

class TestOxCameraFileAccess : public QObject
{
    Q_OBJECT

private slots:
    // Closes that never complete cost one poll instead of three minutes.
    void initTestCase() { qputenv("ORVEX_FILE_CLOSE_WAIT_MS", "100"); }
    void uploadChunks_data();
    void uploadChunks();
    void uploadFailures_data();
    void uploadFailures();
    void downloads_data();
    void downloads();
    void downloadFailures_data();
    void downloadFailures();
    void fileLeftOpenIsClosedFirst_data();
    void fileLeftOpenIsClosedFirst();
    void openModeProbe_data();
    void openModeProbe();
};

void TestOxCameraFileAccess::uploadChunks_data()
{
    QTest::addColumn<QJsonObject>("settings");
    QTest::addColumn<int>("size");
    QTest::addColumn<QStringList>("offsets");
    QTest::addColumn<QStringList>("lengths");
    QTest::addColumn<QStringList>("buffers");
    QTest::addColumn<QList<qint64>>("progress");
    QTest::addColumn<int>("stored"); // bytes the camera keeps: the data, then zeros
    const QJsonObject plain;
    QTest::newRow("short single chunk") << plain << 1000 << QStringList{"0"} << QStringList{"1000"}
                                        << QStringList{"1000"} << QList<qint64>{0} << 1000;
    QTest::newRow("one full chunk") << plain << 65536 << QStringList{"0"} << QStringList{"65536"}
                                    << QStringList{"65536"} << QList<qint64>{0} << 65536;
    QTest::newRow("150000") << plain << 150000 << QStringList{"0", "65536", "131072"}
                            << QStringList{"65536", "18928"}
                            << QStringList{"65536", "65536", "18928"} << QList<qint64>{84464, 0}
                            << 150000;
    QTest::newRow("camera takes 1024 bytes at most")
        << QJsonObject{{"fileAccessMaxLength", 1024}} << 3000 << QStringList{"0", "1024", "2048"}
        << QStringList{"1024", "952"} << QStringList{"1024", "1024", "952"}
        << QList<qint64>{1976, 0} << 3000;
    QTest::newRow("fixed 1024-byte buffer pads the last chunk")
        << QJsonObject{{"fileAccessMaxLength", 1024},
                       {"fileAccessLengthWritable", false},
                       {"fileAccessPadding", true}}
        << 3000 << QStringList{"0", "1024", "2048"} << QStringList{}
        << QStringList{"1024", "1024", "952"} << QList<qint64>{1976, 0} << 3072;
    QTest::newRow("no Filename") << QJsonObject{{"hasFilename", false}} << 1000 << QStringList{"0"}
                                 << QStringList{"1000"} << QStringList{"1000"} << QList<qint64>{0}
                                 << 1000;
    QTest::newRow("no FileOperationStatus")
        << QJsonObject{{"fileOperationStatus", false}} << 1000 << QStringList{"0"}
        << QStringList{"1000"} << QStringList{"1000"} << QList<qint64>{0} << 1000;
}

void TestOxCameraFileAccess::uploadChunks()
{
    QFETCH(QJsonObject, settings);
    QFETCH(int, size);
    QFETCH(QStringList, offsets);
    QFETCH(QStringList, lengths);
    QFETCH(QStringList, buffers);
    QFETCH(QList<qint64>, progress);
    QFETCH(int, stored);
    Fixture f(fileCamera(QJsonObject(), settings));
    QVERIFY(f.ok());
    QSignalSpy spy(&f.camera(), &OxCamera::updateTransferProcess);
    const std::vector<unsigned char> data = pattern(size, 3);
    long written = -1;
    QVERIFY(f.camera().UploadBuffer(data, "map.bin", "Userfile", &written));
    QCOMPARE(written, long(size));
    const QStringList trace = f.trace();
    QCOMPARE(selectLines(trace, "FileAccessOffset set "), offsets);
    QCOMPARE(selectLines(trace, "FileAccessLength set "), lengths);
    QCOMPARE(selectLines(trace, "FileAccessBuffer set "), buffers);
    QCOMPARE(selectLines(trace, "Filename set ").size(), settings.contains("hasFilename") ? 0 : 1);
    QCOMPARE(remainingValues(spy, "Write"), progress);
    QCOMPARE(f.storedFile("Userfile"), toBytes(data) + QByteArray(stored - size, '\0'));

    // An empty buffer never reaches the camera.
    f.sim.clearTrace(kCam);
    QVERIFY(!f.camera().UploadBuffer({}, "map.bin", "Userfile", &written));
    QVERIFY(f.trace().isEmpty());
}

void TestOxCameraFileAccess::uploadFailures_data()
{
    QTest::addColumn<QJsonObject>("faults");
    QTest::addColumn<bool>("result");
    QTest::addColumn<long>("written"); // -1: left untouched
    QTest::addColumn<int>("closes");   // close requests the camera saw
    QTest::addColumn<QList<qint64>>("progress");
    QTest::addColumn<int>("storedBytes"); // -1: the previous content stays

    QTest::newRow("selector") << failFeature("FileSelector") << false << -1L << 0 << QList<qint64>{}
                              << -1;
    QTest::newRow("open") << failOperation("Open") << false << -1L << 0 << QList<qint64>{} << -1;
    // Past the open: the file is closed and the call counts as done.
    QTest::newRow("length") << failFeature("FileAccessLength") << true << 0L << 1
                            << QList<qint64>{0} << 0;
    QTest::newRow("second chunk") << failOperation("Write", 2) << true << 65536L << 1
                                  << QList<qint64>{84464, 0} << 65536;
    QTest::newRow("last chunk") << failOperation("Write", 3) << true << 131072L << 1
                                << QList<qint64>{84464, 0} << 131072;
    QTest::newRow("close") << failOperation("Close") << false << -1L << 1 << QList<qint64>{84464}
                           << -1;
}

void TestOxCameraFileAccess::uploadFailures()
{
    QFETCH(QJsonObject, faults);
    QFETCH(bool, result);
    QFETCH(long, written);
    QFETCH(int, closes);
    QFETCH(QList<qint64>, progress);
    QFETCH(int, storedBytes);
    Fixture f(fileCamera(faults));
    QVERIFY(f.ok());
    QSignalSpy spy(&f.camera(), &OxCamera::updateTransferProcess);
    const std::vector<unsigned char> data = pattern(150000, 1);
    long count = -1;
    QCOMPARE(f.camera().UploadBuffer(data, "map.bin", "Userfile", &count), result);
    QCOMPARE(count, written);
    QCOMPARE(f.trace().count("FileOperationSelector set Close"), closes);
    QCOMPARE(remainingValues(spy, "Write"), progress);
    const QByteArray stored = f.storedFile("Userfile");
    if (storedBytes < 0)
        QCOMPARE(stored, QByteArray("previous"));
    else
        QCOMPARE(stored, toBytes(data).left(storedBytes));
}

void TestOxCameraFileAccess::downloads_data()
{
    QTest::addColumn<QString>("selector");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("offsets");
    QTest::addColumn<QStringList>("lengths");
    QTest::addColumn<QList<qint64>>("progress");
    // An empty file needs no length (cameras take at least 1 byte).
    QTest::newRow("empty") << "Empty" << QByteArray() << QStringList() << QStringList()
                           << QList<qint64>{0};
    QTest::newRow("70000") << "Seventy" << seventyText() << QStringList{"0", "65536"}
                           << QStringList{"65536", "4464"} << QList<qint64>{4464, 0, 0};
    QTest::newRow("short") << "ReadOnly" << QByteArray("factory") << QStringList{"0"}
                           << QStringList{"7"} << QList<qint64>{0, 0};
}

void TestOxCameraFileAccess::downloads()
{
    QFETCH(QString, selector);
    QFETCH(QByteArray, content);
    QFETCH(QStringList, offsets);
    QFETCH(QStringList, lengths);
    QFETCH(QList<qint64>, progress);
    Fixture f(fileCamera());
    QVERIFY(f.ok());
    QSignalSpy spy(&f.camera(), &OxCamera::updateTransferProcess);
    const QString local = f.sim.path("download.bin");
    long read = -1;
    QVERIFY(f.camera().DownloadDeviceFile(QFile::encodeName(local), "map.bin",
                                          selector.toUtf8().constData(), &read));
    QCOMPARE(read, long(content.size()));
    QCOMPARE(fileBytes(local), content);
    const QStringList trace = f.trace();
    QCOMPARE(trace.count("FileOperationSelector set Open"), 1);
    QCOMPARE(trace.count("FileOperationSelector set Close"), 1);
    QCOMPARE(trace.count("FileOpenMode set Read"), 1);
    QCOMPARE(selectLines(trace, "FileAccessOffset set "), offsets);
    QCOMPARE(selectLines(trace, "FileAccessLength set "), lengths);
    QCOMPARE(selectLines(trace, "FileAccessBuffer get ").size(), offsets.size());
    QCOMPARE(remainingValues(spy, "Read"), progress);
}

void TestOxCameraFileAccess::downloadFailures_data()
{
    QTest::addColumn<QJsonObject>("faults");
    QTest::addColumn<long>("read");
    QTest::addColumn<QList<qint64>>("progress");
    QTest::addColumn<int>("closes"); // close requests the camera saw

    QTest::newRow("open") << failOperation("Open") << 0L << QList<qint64>{} << 0;
    QTest::newRow("file size") << failFeature("FileSize", "get") << 0L << QList<qint64>{} << 1;
    // The one failure after the open that leaves the device file open.
    QTest::newRow("length") << failFeature("FileAccessLength") << 0L << QList<qint64>{} << 0;
    QTest::newRow("buffer") << failFeature("FileAccessBuffer", "get") << 0L << QList<qint64>{} << 1;
    QTest::newRow("second read") << failOperation("Read", 2) << 65536L << QList<qint64>{4464} << 1;
    // The buffer is not read when the camera says the read failed.
    QTest::newRow("second read, status only")
        << failOperation("Read", 2, kStatusOnly) << 65536L << QList<qint64>{4464} << 1;
    // A failed close is tried once more by the abort path.
    QTest::newRow("close") << failOperation("Close") << 70000L << QList<qint64>{4464, 0} << 1;
}

void TestOxCameraFileAccess::downloadFailures()
{
    QFETCH(QJsonObject, faults);
    QFETCH(long, read);
    QFETCH(QList<qint64>, progress);
    QFETCH(int, closes);
    Fixture f(fileCamera(faults));
    QVERIFY(f.ok());
    QSignalSpy spy(&f.camera(), &OxCamera::updateTransferProcess);
    const QString local = f.sim.path("download.bin");
    long count = -1;
    QVERIFY(!f.camera().DownloadDeviceFile(QFile::encodeName(local), "map.bin", "Seventy", &count));
    QCOMPARE(count, read);
    QCOMPARE(f.trace().count("FileOperationSelector set Close"), closes);
    QCOMPARE(remainingValues(spy, "Read"), progress);
    // The local file holds what was counted, and stays on disk.
    QCOMPARE(fileBytes(local), seventyText().left(int(read)));
}

// Transfers that end with the device file still open on the camera, and the
// transfer after them: it closes that file once and opens its own, never
// opening twice. (The camera refuses the open of an open file before the
// request reaches it, so only the accepted open shows in the trace.)
void TestOxCameraFileAccess::fileLeftOpenIsClosedFirst_data()
{
    QTest::addColumn<QJsonObject>("faults");
    QTest::addColumn<bool>("uploadFirst"); // the transfer that leaves the file open
    QTest::addColumn<QString>("nextMode"); // "Write": an upload follows, "Read": a download
    QTest::addColumn<QByteArray>("after"); // the device file after the next transfer

    const QJsonObject neverDone{{"commandLatencyMs", QJsonObject{{"FileOperationExecute", -1}}}};
    const QJsonObject closeHangs{
        {"failOperations", QJsonArray{QJsonObject{{"operation", "Close"}, {"hang", true}}}}};
    QTest::newRow("download stopped at its length write")
        << failFeature("FileAccessLength") << false << "Write" << toBytes(pattern(70000, 5));
    QTest::newRow("download open never completed")
        << neverDone << false << "Read" << QByteArray("previous");
    // Closing the left file stores the whole upload that was waiting in it.
    QTest::newRow("upload close never completed")
        << closeHangs << true << "Read" << toBytes(pattern(70000, 4));
    QTest::newRow("upload close never completed, upload next")
        << closeHangs << true << "Write" << toBytes(pattern(70000, 5));
}

void TestOxCameraFileAccess::fileLeftOpenIsClosedFirst()
{
    QFETCH(QJsonObject, faults);
    QFETCH(bool, uploadFirst);
    QFETCH(QString, nextMode);
    QFETCH(QByteArray, after);
    Fixture f(fileCamera(faults));
    QVERIFY(f.ok());
    const QByteArray local = QFile::encodeName(f.sim.path("local.bin"));
    long count = -1;
    if (uploadFirst)
        QVERIFY(!f.camera().UploadBuffer(pattern(70000, 4), "map.bin", "Userfile", &count));
    else
        QVERIFY(!f.camera().DownloadDeviceFile(local, "map.bin", "Userfile", &count));
    QCOMPARE(f.storedFile("Userfile"), QByteArray("previous"));

    QCOMPARE(f.sim.control().ClearFaults(kCam), 0);
    f.sim.clearTrace(kCam);
    if (nextMode == "Write") {
        QVERIFY(f.camera().UploadBuffer(pattern(70000, 5), "map.bin", "Userfile", &count));
    } else {
        QVERIFY(f.camera().DownloadDeviceFile(local, "map.bin", "Userfile", &count));
        QCOMPARE(fileBytes(f.sim.path("local.bin")), after);
    }
    QCOMPARE(count, long(after.size()));
    QCOMPARE(f.storedFile("Userfile"), after);
    const QStringList trace = f.trace();
    QCOMPARE(trace.count("FileOperationSelector set Open"), 1);
    QCOMPARE(trace.count("FileOperationSelector set Close"), 2);
}

void TestOxCameraFileAccess::openModeProbe_data()
{
    QTest::addColumn<QString>("selector");
    QTest::addColumn<bool>("writeBlocked");
    // Modes the camera took, in order; the SDK refuses unavailable ones
    // before they reach the camera.
    QTest::addColumn<QStringList>("accepted");
    QTest::newRow("read and write")
        << "Userfile" << false << QStringList{"Read", "Write", "ReadWrite"};
    QTest::newRow("read only") << "ReadOnly" << true << QStringList{"Read"};
}

void TestOxCameraFileAccess::openModeProbe()
{
    QFETCH(QString, selector);
    QFETCH(bool, writeBlocked);
    QFETCH(QStringList, accepted);
    Fixture f(fileCamera());
    QVERIFY(f.ok());
    QVERIFY(OxCameraFeature(f.sim.camera(kCam), nullptr).SetValue("FileSelector", selector));
    f.sim.clearTrace(kCam);

    bool read = true, write = true;
    f.camera().GetFileAccessMode(&read, &write);
    QCOMPARE(read, false);
    QCOMPARE(write, writeBlocked);
    QCOMPARE(selectLines(f.trace(), "FileOpenMode set "), accepted);
}

QTEST_GUILESS_MAIN(TestOxCameraFileAccess)
#include "TestOxCameraFileAccess.moc"
