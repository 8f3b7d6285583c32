// Device file transfers of the camera wrapper against simulated cameras:
// what the caller gets (result, byte counts, progress) and what the camera
// saw (the feature writes in order, the stored file afterwards).

#include "OxCamera.h"
#include "OxCameraFeature.h"
#include "SimSession.h"

#include <Hvx/Camera.h>

#include <QFile>
#include <QSignalSpy>
#include <QThread>
#include <QtConcurrent>
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
                      bool read = true, bool write = true)
{
    return QJsonObject{{"selector", selector},
                       {"kind", "plain"},
                       {"content", QString::fromLatin1(content)},
                       {"read", read},
                       {"write", write}};
}

// settings: further keys of the camera's description.
QJsonObject fileCamera(const QJsonObject& faults = QJsonObject(),
                       const QJsonObject& settings = QJsonObject())
{
    QJsonObject cam = SimSession::cameraJson(kCam);
    cam.insert("files",
               QJsonArray{fileEntry("Userfile", "previous"), fileEntry("Seventy", seventyText()),
                          fileEntry("Empty"), fileEntry("ReadOnly", "factory", true, false),
                          fileEntry("WriteOnly", QByteArray(), false, true)});
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

// The reads of a completed operation's status (an enumeration's text takes
// two) and result.
QStringList reported(const char* status, const QString& result = QString())
{
    const QString line = QString("FileOperationStatus get ") + status;
    return QStringList{line, line} +
           (result.isEmpty() ? QStringList() : QStringList{"FileOperationResult get " + result});
}

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
    void uploadOneChunkExactSequence();
    void uploadChunks_data();
    void uploadChunks();
    void restrictedCamera_data();
    void restrictedCamera();
    void uploadFailures_data();
    void uploadFailures();
    void uploadLocalFile();
    void progressCrossesThreads();
    void downloads_data();
    void downloads();
    void downloadFailures_data();
    void downloadFailures();
    void fileLeftOpenIsClosedFirst_data();
    void fileLeftOpenIsClosedFirst();
    void deleteDeviceFile();
    void openModeProbe_data();
    void openModeProbe();
};

void TestOxCameraFileAccess::uploadOneChunkExactSequence()
{
    Fixture f(fileCamera());
    QVERIFY(f.ok());
    QSignalSpy progress(&f.camera(), &OxCamera::updateTransferProcess);
    long written = -1;
    const std::vector<unsigned char> data = pattern(65536);
    QVERIFY(f.camera().UploadBuffer(data, "map.bin", "Userfile", &written));
    QCOMPARE(written, 65536L);
    // Every operation is waited for and its report read while it is still
    // selected; "Write" is selected before its offset and length.
    QCOMPARE(f.trace(),
             QStringList({"FileSelector set Userfile", "Filename set map.bin",
                          "FileOpenMode set Write", "FileOperationSelector set Open",
                          "FileOperationExecute execute", "FileOperationExecute isdone 1"}) +
                 reported("Success") +
                 QStringList({"FileOperationSelector set Write", "FileAccessLength set 65536",
                              "FileAccessOffset set 0", "FileAccessBuffer set 65536",
                              "FileOperationExecute execute", "FileOperationExecute isdone 1"}) +
                 reported("Success", "65536") +
                 QStringList({"FileOperationSelector set Close", "FileOperationExecute execute",
                              "FileOperationExecute isdone 1"}) +
                 reported("Success"));
    QCOMPARE(remainingValues(progress, "Write"), QList<qint64>({0}));
    QCOMPARE(f.storedFile("Userfile"), toBytes(data));

    // An empty buffer never reaches the camera.
    f.sim.clearTrace(kCam);
    written = -1;
    QVERIFY(!f.camera().UploadBuffer({}, "map.bin", "Userfile", &written));
    QCOMPARE(written, -1L);
    QVERIFY(f.trace().isEmpty());
    QCOMPARE(progress.count(), 1);
}

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
    QTest::newRow("two full chunks")
        << plain << 131072 << QStringList{"0", "65536"} << QStringList{"65536"}
        << QStringList{"65536", "65536"} << QList<qint64>{0} << 131072;
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
    QCOMPARE(remainingValues(spy, "Write"), progress);
    QCOMPARE(f.storedFile("Userfile"), toBytes(data) + QByteArray(stored - size, '\0'));
}

// Cameras lacking a feature the transfers would use: an upload and a
// download still go through, without touching it.
void TestOxCameraFileAccess::restrictedCamera_data()
{
    QTest::addColumn<bool>("hasFilename");
    QTest::addColumn<bool>("lengthWritable");
    QTest::addColumn<QString>("untouched");
    QTest::newRow("no Filename") << false << true << "Filename";
    QTest::newRow("read-only FileAccessLength") << true << false << "FileAccessLength set";
}

void TestOxCameraFileAccess::restrictedCamera()
{
    QFETCH(bool, hasFilename);
    QFETCH(bool, lengthWritable);
    QFETCH(QString, untouched);
    Fixture f(fileCamera(QJsonObject(), {{"hasFilename", hasFilename},
                                         {"fileAccessLengthWritable", lengthWritable}}));
    QVERIFY(f.ok());
    long written = -1;
    const std::vector<unsigned char> data = pattern(150000, 9);
    QVERIFY(f.camera().UploadBuffer(data, "map.bin", "Userfile", &written));
    QCOMPARE(written, 150000L);
    QCOMPARE(f.storedFile("Userfile"), toBytes(data));
    QCOMPARE(selectLines(f.trace(), "FileAccessBuffer set "),
             QStringList({"65536", "65536", "18928"}));
    QCOMPARE(selectLines(f.trace(), untouched), QStringList());

    f.sim.clearTrace(kCam);
    long read = -1;
    const QString local = f.sim.path("seventy.txt");
    QVERIFY(f.camera().DownloadDeviceFile(QFile::encodeName(local), "s.txt", "Seventy", &read));
    QCOMPARE(read, long(kSeventy));
    QCOMPARE(fileBytes(local), seventyText());
    QCOMPARE(selectLines(f.trace(), untouched), QStringList());

    // The delete writes the name unconditionally, so without one it stops there.
    f.sim.clearTrace(kCam);
    QCOMPARE(f.camera().DeleteDeviceFile("map.bin", "Seventy"), hasFilename);
    if (!hasFilename)
        QCOMPARE(f.trace(), QStringList({"FileSelector set Seventy"}));
}

void TestOxCameraFileAccess::uploadFailures_data()
{
    QTest::addColumn<QJsonObject>("faults");
    QTest::addColumn<bool>("result");
    QTest::addColumn<long>("written"); // -1: left untouched
    QTest::addColumn<int>("opens");
    QTest::addColumn<int>("closes");
    QTest::addColumn<QList<qint64>>("progress");
    QTest::addColumn<int>("storedBytes"); // -1: the previous content stays

    QTest::newRow("selector") << failFeature("FileSelector") << false << -1L << 0 << 0
                              << QList<qint64>{} << -1;
    QTest::newRow("file name") << failFeature("Filename") << false << -1L << 0 << 0
                               << QList<qint64>{} << -1;
    QTest::newRow("open mode") << failFeature("FileOpenMode") << false << -1L << 0 << 0
                               << QList<qint64>{} << -1;
    QTest::newRow("open") << failOperation("Open") << false << -1L << 1 << 0 << QList<qint64>{}
                          << -1;
    // Past the open: the file is closed and the call counts as done.
    QTest::newRow("length") << failFeature("FileAccessLength") << true << 0L << 1 << 1
                            << QList<qint64>{0} << 0;
    QTest::newRow("offset") << failFeature("FileAccessOffset") << true << 0L << 1 << 1
                            << QList<qint64>{0} << 0;
    QTest::newRow("buffer") << failFeature("FileAccessBuffer") << true << 0L << 1 << 1
                            << QList<qint64>{0} << 0;
    QTest::newRow("second chunk") << failOperation("Write", 2) << true << 65536L << 1 << 1
                                  << QList<qint64>{84464, 0} << 65536;
    QTest::newRow("last chunk") << failOperation("Write", 3) << true << 131072L << 1 << 1
                                << QList<qint64>{84464, 0} << 131072;
    QTest::newRow("close") << failOperation("Close") << false << -1L << 1 << 1
                           << QList<qint64>{84464} << -1;
}

void TestOxCameraFileAccess::uploadFailures()
{
    QFETCH(QJsonObject, faults);
    QFETCH(bool, result);
    QFETCH(long, written);
    QFETCH(int, opens);
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
    const QStringList trace = f.trace();
    QCOMPARE(trace.count("FileOperationSelector set Open"), opens);
    QCOMPARE(trace.count("FileOperationSelector set Close"), closes);
    QCOMPARE(remainingValues(spy, "Write"), progress);
    const QByteArray stored = f.storedFile("Userfile");
    if (storedBytes < 0)
        QCOMPARE(stored, QByteArray("previous"));
    else
        QCOMPARE(stored, toBytes(data).left(storedBytes));
}

void TestOxCameraFileAccess::uploadLocalFile()
{
    Fixture f(fileCamera());
    QVERIFY(f.ok());
    const std::vector<unsigned char> data = pattern(100000, 11);
    const QString path = f.sim.path("local.bin");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(toBytes(data));
    file.close();
    long written = -1;
    QVERIFY(f.camera().UploadLocalFile("map.bin", QFile::encodeName(path), "Userfile", &written));
    QCOMPARE(written, 100000L);
    QCOMPARE(f.storedFile("Userfile"), toBytes(data));

    // An empty or missing local file never reaches the camera.
    f.sim.clearTrace(kCam);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.close();
    for (const QString& local : {path, f.sim.path("missing.bin")}) {
        written = -1;
        QVERIFY(
            !f.camera().UploadLocalFile("map.bin", QFile::encodeName(local), "Userfile", &written));
        QCOMPARE(written, 0L);
    }
    QVERIFY(f.trace().isEmpty());
}

void TestOxCameraFileAccess::progressCrossesThreads()
{
    Fixture f(fileCamera());
    QVERIFY(f.ok());
    QList<qint64> received;
    QObject receiver;
    connect(
        &f.camera(), &OxCamera::updateTransferProcess, &receiver,
        [&](int64_t remaining, const QString&, const QString&) {
            received << (QThread::currentThread() == receiver.thread() ? remaining : -1);
        },
        Qt::QueuedConnection);
    const std::vector<unsigned char> data = pattern(150000, 2);
    long written = -1;
    QFuture<bool> transfer = QtConcurrent::run(
        [&]() { return f.camera().UploadBuffer(data, "map.bin", "Userfile", &written); });
    transfer.waitForFinished();
    QVERIFY(transfer.result());
    QTRY_COMPARE(received, QList<qint64>({84464, 0}));
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
    // The last feature operations the camera saw (done queries left out).
    QTest::addColumn<QStringList>("tail");

    const QStringList opened = QStringList{"FileOperationExecute execute"} + reported("Success");
    const QStringList closed{"FileOperationSelector set Close", "FileOperationExecute execute"};

    QTest::newRow("selector") << failFeature("FileSelector") << 0L << QList<qint64>{}
                              << QStringList{"FileSelector set Seventy -> -13"};
    QTest::newRow("file name") << failFeature("Filename") << 0L << QList<qint64>{}
                               << QStringList{"FileSelector set Seventy",
                                              "Filename set map.bin -> -13"};
    QTest::newRow("open") << failOperation("Open") << 0L << QList<qint64>{}
                          << QStringList{"FileOperationSelector set Open",
                                         "FileOperationExecute execute -> -13"};
    QTest::newRow("file size") << failFeature("FileSize", "get") << 0L << QList<qint64>{}
                               << (opened + QStringList{"FileSize get -> -13"} + closed);
    // The one failure after the open that leaves the device file open.
    QTest::newRow("length") << failFeature("FileAccessLength") << 0L << QList<qint64>{}
                            << QStringList{"FileSize get 70000", "FileOperationSelector set Read",
                                           "FileAccessLength set 65536 -> -13"};
    QTest::newRow("offset")
        << failFeature("FileAccessOffset") << 0L << QList<qint64>{}
        << (QStringList{"FileAccessLength set 65536", "FileAccessOffset set 0 -> -13"} + closed);
    QTest::newRow("buffer") << failFeature("FileAccessBuffer", "get") << 0L << QList<qint64>{}
                            << (reported("Success", "65536") +
                                QStringList{"FileAccessBuffer get -> -13"} + closed);
    QTest::newRow("second read") << failOperation("Read", 2) << 65536L << QList<qint64>{4464}
                                 << (QStringList{"FileAccessOffset set 65536",
                                                 "FileAccessLength set 4464",
                                                 "FileOperationExecute execute -> -13"} +
                                     closed);
    // The buffer is not read when the camera says the read failed.
    QTest::newRow("second read, status only")
        << failOperation("Read", 2, kStatusOnly) << 65536L << QList<qint64>{4464}
        << (QStringList{"FileOperationExecute execute"} + reported("Failure") + closed);
    // A failed close is tried once more by the abort path; the camera has
    // ended the file already, so the second selection is refused before it
    // reaches the camera and only its execute shows.
    QTest::newRow("close") << failOperation("Close") << 70000L << QList<qint64>{4464, 0}
                           << QStringList{"FileAccessBuffer get 65536",
                                          "FileOperationSelector set Close",
                                          "FileOperationExecute execute -> -13",
                                          "FileOperationExecute execute -> -15"};
}

void TestOxCameraFileAccess::downloadFailures()
{
    QFETCH(QJsonObject, faults);
    QFETCH(long, read);
    QFETCH(QList<qint64>, progress);
    QFETCH(QStringList, tail);
    Fixture f(fileCamera(faults));
    QVERIFY(f.ok());
    QSignalSpy spy(&f.camera(), &OxCamera::updateTransferProcess);
    const QString local = f.sim.path("download.bin");
    long count = -1;
    QVERIFY(!f.camera().DownloadDeviceFile(QFile::encodeName(local), "map.bin", "Seventy", &count));
    QCOMPARE(count, read);
    const QStringList trace = f.trace(false);
    QCOMPARE(trace.mid(trace.size() - tail.size()), tail);
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
    const QString mode = "FileOpenMode set " + nextMode;
    const QStringList opening{mode,
                              "FileOperationSelector set Close",
                              "FileOperationExecute execute",
                              "FileOperationExecute isdone 1",
                              mode,
                              "FileOperationSelector set Open",
                              "FileOperationExecute execute",
                              "FileOperationExecute isdone 1"};
    const QStringList trace = f.trace();
    QCOMPARE(trace.mid(2, opening.size()), opening);
    QCOMPARE(trace.count("FileOperationSelector set Open"), 1);
    QCOMPARE(trace.count("FileOperationSelector set Close"), 2);
}

void TestOxCameraFileAccess::deleteDeviceFile()
{
    Fixture f(fileCamera());
    QVERIFY(f.ok());
    long written = -1;
    QVERIFY(f.camera().UploadBuffer(pattern(5000), "map.bin", "Seventy", &written));
    f.sim.clearTrace(kCam);
    QVERIFY(f.camera().DeleteDeviceFile("map.bin", "Seventy"));
    QCOMPARE(f.trace(), QStringList({"FileSelector set Seventy", "Filename set map.bin",
                                     "FileOpenMode set Write", "FileOperationSelector set Delete",
                                     "FileOperationExecute execute"}));
    // Back to the camera's own content.
    QCOMPARE(f.storedFile("Seventy"), seventyText());

    // A read-only file refuses the write mode, so nothing is deleted.
    f.sim.clearTrace(kCam);
    QVERIFY(!f.camera().DeleteDeviceFile("x", "ReadOnly"));
    QVERIFY(selectLines(f.trace(), "FileOperationSelector").isEmpty());
}

void TestOxCameraFileAccess::openModeProbe_data()
{
    QTest::addColumn<QString>("selector");
    QTest::addColumn<bool>("readBlocked");
    QTest::addColumn<bool>("writeBlocked");
    // Modes the camera took, in order; the SDK refuses unavailable ones
    // before they reach the camera.
    QTest::addColumn<QStringList>("accepted");
    QTest::newRow("read and write")
        << "Userfile" << false << false << QStringList{"Read", "Write", "ReadWrite"};
    QTest::newRow("read only") << "ReadOnly" << false << true << QStringList{"Read"};
    QTest::newRow("write only") << "WriteOnly" << true << false << QStringList{"Write"};
    // The selection cannot be read: nothing counts as blocked, nothing is tried.
    QTest::newRow("selector unreadable") << QString() << false << false << QStringList();
}

void TestOxCameraFileAccess::openModeProbe()
{
    QFETCH(QString, selector);
    QFETCH(bool, readBlocked);
    QFETCH(bool, writeBlocked);
    QFETCH(QStringList, accepted);
    Fixture f(fileCamera(selector.isEmpty() ? failFeature("FileSelector", "get") : QJsonObject()));
    QVERIFY(f.ok());
    OxCameraFeature features(f.sim.camera(kCam), nullptr);
    if (!selector.isEmpty())
        QVERIFY(features.SetValue("FileSelector", selector));
    f.sim.clearTrace(kCam);

    bool read = true, write = true;
    f.camera().GetFileAccessMode(&read, &write);
    QCOMPARE(read, readBlocked);
    QCOMPARE(write, writeBlocked);
    QCOMPARE(selectLines(f.trace(false), "FileOpenMode set "), accepted);
    QVariant mode;
    if (!accepted.isEmpty() && features.GetValue("FileOpenMode", mode))
        QCOMPARE(mode.toString(), accepted.last());
}

QTEST_GUILESS_MAIN(TestOxCameraFileAccess)
#include "TestOxCameraFileAccess.moc"
