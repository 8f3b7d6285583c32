#include "CameraModelCompatibility.h"

#include <QtTest>

#include <atomic>
#include <thread>
#include <vector>

class TestCameraModelCompatibility : public QObject
{
    Q_OBJECT
private slots:
    // Must run first: the pattern table is built by whichever call comes first.
    // The models table starts each family as "previous": no match must clear it.
    void firstCallsRaceFromSeveralThreads();
    void models_data();
    void models();
};

void TestCameraModelCompatibility::firstCallsRaceFromSeveralThreads()
{
    const QStringList models{"kva123MXGE", "LV3-7", "wmq5000MLV-S", "RD-QK1", "nothing"};
    const QStringList expected{"kva", "LV3", "", "RD-QK", ""};
    std::atomic<int> ready{0};
    const int threads = 8;
    // Plain threads, joined here: nothing but the calls under test happens
    // on them, and ThreadSanitizer sees every hand-over.
    std::vector<QStringList> results(threads);
    std::vector<std::thread> pool;
    for (int t = 0; t < threads; ++t) {
        pool.emplace_back([&, t]() {
            // Release all threads together so that their first calls overlap.
            ++ready;
            while (ready.load() < threads)
                std::this_thread::yield();
            QStringList& families = results[size_t(t)];
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
        });
    }
    for (std::thread& thread : pool)
        thread.join();
    for (const QStringList& families : results)
        QCOMPARE(families, expected);
}

void TestCameraModelCompatibility::models_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<bool>("compatible");
    QTest::addColumn<QString>("family");

    // Row 1, open-ended after the interface suffix; three digits exactly; case matters.
    QTest::newRow("kva XGE") << "kva123MXGE" << true << "kva";
    QTest::newRow("kva LV with suffix") << "kva123CLV-2" << true << "kva";
    QTest::newRow("kva two digits") << "kva12MXGE" << false << "";
    QTest::newRow("kva upper case") << "KVA123MXGE" << false << "";
    // Row 2.
    QTest::newRow("zt LV") << "zt5MLV" << true << "zt";
    QTest::newRow("zt RDMA trailing") << "zt12345C100GE_RDMA-X" << true << "zt";
    // Row 3, anchored at both ends.
    QTest::newRow("wmq") << "wmq5000MLV" << true << "wmq";
    QTest::newRow("wmq suffix") << "wmq5000MLV-S" << false << "";
    // Row 4, anchored at both ends; digits and dots in the version.
    QTest::newRow("Tamira") << "Tamira3.1MLV12" << true << "Tamira";
    QTest::newRow("Tamira without 12") << "Tamira3.1MLV" << false << "";
    QTest::newRow("Tamira suffix") << "Tamira3.1MLV12B" << false << "";
    // Row 5.
    QTest::newRow("K-R284") << "K-R284" << true << "K-R284";
    QTest::newRow("K-R284-C") << "K-R284-C" << true << "K-R284";
    QTest::newRow("K-R284-CC") << "K-R284-CC" << false << "";
    // Rows 6 and 8: LV3- belongs to its own family, never to LV.
    QTest::newRow("LV mono") << "LV-12M" << true << "LV";
    QTest::newRow("LV colour") << "LV-12C" << false << "";
    QTest::newRow("LV3") << "LV3-12M" << true << "LV3";
    QTest::newRow("LV3 without dash") << "LV312M" << false << "";
    // Row 7.
    QTest::newRow("DuneTrack") << "DuneTrack-GQX" << true << "DuneTrack";
    // Rows 9 to 11, prefixes only.
    QTest::newRow("nyr") << "nyrX" << true << "nyr";
    QTest::newRow("tef") << "tef-1" << true << "tef";
    QTest::newRow("RD-QK") << "RD-QK200" << true << "RD-QK";
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

QTEST_GUILESS_MAIN(TestCameraModelCompatibility)
#include "TestCameraModelCompatibility.moc"
