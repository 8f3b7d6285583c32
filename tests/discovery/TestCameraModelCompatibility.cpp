#include "CameraModelCompatibility.h"

#include <QtConcurrent>
#include <QtTest>

#include <atomic>

class TestCameraModelCompatibility : public QObject
{
    Q_OBJECT
private slots:
    // Must run first: the pattern table is built by whichever call comes first.
    void firstCallsRaceFromSeveralThreads();
    void models_data();
    void models();
    void noMatchClearsFamily();
};

void TestCameraModelCompatibility::firstCallsRaceFromSeveralThreads()
{
    const QStringList models{"kva123MXGE", "LV3-7", "wmq5000MLV-S", "RD-QK1", "nothing"};
    const QStringList expected{"kva", "LV3", "", "RD-QK", ""};
    std::atomic<int> ready{0};
    const int threads = 8;
    QThreadPool pool;
    pool.setMaxThreadCount(threads);
    QVector<QFuture<QStringList>> futures;
    for (int t = 0; t < threads; ++t) {
        futures << QtConcurrent::run(&pool, [&]() {
            // Release all threads together so that their first calls overlap.
            ++ready;
            while (ready.load() < threads)
                QThread::yieldCurrentThread();
            QStringList families;
            for (int round = 0; round < 200; ++round) {
                for (const QString& model : models) {
                    QString family = "stale";
                    IsCameraModelCompatible(model, family);
                    if (round == 0)
                        families << family;
                    else if (family != families.at(models.indexOf(model)))
                        families << "inconsistent:" + model;
                }
            }
            return families;
        });
    }
    for (QFuture<QStringList>& f : futures)
        QCOMPARE(f.result(), expected);
}

void TestCameraModelCompatibility::models_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<bool>("compatible");
    QTest::addColumn<QString>("family");

    // Row 1, open-ended after the interface suffix; three digits exactly; case matters.
    QTest::newRow("kva XGE") << "kva123MXGE" << true << "kva";
    QTest::newRow("kva LV with suffix") << "kva123CLV-2" << true << "kva";
    QTest::newRow("kva 25GE") << "kva999C25GE" << true << "kva";
    QTest::newRow("kva RDMA") << "kva001M100GE_RDMA" << true << "kva";
    QTest::newRow("kva trailing text") << "kva123MXGE-B" << true << "kva";
    QTest::newRow("kva two digits") << "kva12MXGE" << false << "";
    QTest::newRow("kva upper case") << "KVA123MXGE" << false << "";
    QTest::newRow("kva no colour letter") << "kva123XGE" << false << "";
    QTest::newRow("kva leading text") << "Xkva123MXGE" << false << "";
    // Row 2.
    QTest::newRow("zt LV") << "zt5MLV" << true << "zt";
    QTest::newRow("zt RDMA trailing") << "zt12345C100GE_RDMA-X" << true << "zt";
    QTest::newRow("zt XGE") << "zt5MXGE" << false << "";
    QTest::newRow("zt no digits") << "ztMLV" << false << "";
    // Row 3, anchored at both ends.
    QTest::newRow("wmq") << "wmq5000MLV" << true << "wmq";
    QTest::newRow("wmq colour") << "wmq1CLV" << true << "wmq";
    QTest::newRow("wmq suffix") << "wmq5000MLV-S" << false << "";
    // Row 4, anchored at both ends; digits and dots in the version.
    QTest::newRow("Tamira") << "Tamira3.1MLV12" << true << "Tamira";
    QTest::newRow("Tamira colour") << "Tamira10CLV12" << true << "Tamira";
    QTest::newRow("Tamira without 12") << "Tamira3.1MLV" << false << "";
    QTest::newRow("Tamira lower case") << "tamira3.1MLV12" << false << "";
    QTest::newRow("Tamira suffix") << "Tamira3.1MLV12B" << false << "";
    // Row 5.
    QTest::newRow("K-R284") << "K-R284" << true << "K-R284";
    QTest::newRow("K-R284-C") << "K-R284-C" << true << "K-R284";
    QTest::newRow("K-R284-CC") << "K-R284-CC" << false << "";
    QTest::newRow("K-R2845") << "K-R2845" << false << "";
    // Rows 6 and 8: LV3- belongs to its own family, never to LV.
    QTest::newRow("LV mono") << "LV-12M" << true << "LV";
    QTest::newRow("LV colour") << "LV-12C" << false << "";
    QTest::newRow("LV suffix") << "LV-12MX" << false << "";
    QTest::newRow("LV no digits") << "LV-M" << false << "";
    QTest::newRow("LV3") << "LV3-12M" << true << "LV3";
    QTest::newRow("LV3 anything") << "LV3-" << true << "LV3";
    QTest::newRow("LV3 without dash") << "LV312M" << false << "";
    // Row 7.
    QTest::newRow("DuneTrack") << "DuneTrack-GQX" << true << "DuneTrack";
    QTest::newRow("DuneTrack trailing") << "DuneTrack-GQX 4K" << true << "DuneTrack";
    QTest::newRow("DuneTrack other") << "DuneTrack-GQ" << false << "";
    // Rows 9 to 11, prefixes only.
    QTest::newRow("nyr") << "nyrX" << true << "nyr";
    QTest::newRow("nyr alone") << "nyr" << true << "nyr";
    QTest::newRow("NYR") << "NYRX" << false << "";
    QTest::newRow("tef") << "tef-1" << true << "tef";
    QTest::newRow("tef inside") << "atef" << false << "";
    QTest::newRow("RD-QK") << "RD-QK200" << true << "RD-QK";
    QTest::newRow("RD-Q") << "RD-Q" << false << "";
    // No multi-line matching: the prefix must start the whole text.
    QTest::newRow("second line") << "x\nnyr" << false << "";
    QTest::newRow("empty") << "" << false << "";
}

void TestCameraModelCompatibility::models()
{
    QFETCH(QString, model);
    QFETCH(bool, compatible);
    QFETCH(QString, family);

    QString result = "previous";
    QCOMPARE(IsCameraModelCompatible(model, result), compatible);
    QCOMPARE(result, family);
}

void TestCameraModelCompatibility::noMatchClearsFamily()
{
    QString family;
    QVERIFY(IsCameraModelCompatible("kva123MXGE", family));
    QCOMPARE(family, QString("kva"));
    QVERIFY(!IsCameraModelCompatible("wmq5000MLV-S", family));
    QVERIFY(family.isEmpty());
}

QTEST_GUILESS_MAIN(TestCameraModelCompatibility)
#include "TestCameraModelCompatibility.moc"
