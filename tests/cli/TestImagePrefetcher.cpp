#include "ImagePrefetcher.h"

#include <QTemporaryDir>
#include <QtTest>

// Images are told apart by their size: image k of a list is k + 1 pixels wide.
class TestImagePrefetcher : public QObject
{
    Q_OBJECT

    QTemporaryDir tmp;

    QStringList writeImages(int count)
    {
        QStringList paths;
        for (int k = 0; k < count; ++k) {
            // Sizes vary a lot so that workers finish out of order.
            QImage image(k + 1, (k % 3) * 300 + 1, QImage::Format_Grayscale16);
            image.fill(0);
            const QString path = tmp.filePath(QString("img%1.png").arg(k));
            if (!image.save(path))
                return {};
            paths << path;
        }
        return paths;
    }

private slots:
    void handsOutInListOrder_data()
    {
        QTest::addColumn<int>("decoders");
        QTest::addColumn<int>("capacity");
        QTest::newRow("one worker, no room ahead") << 1 << 1;
        QTest::newRow("one worker") << 1 << 2;
        QTest::newRow("three workers") << 3 << 4;
        QTest::newRow("more slots than images") << 2 << 50;
    }

    void handsOutInListOrder()
    {
        QFETCH(int, decoders);
        QFETCH(int, capacity);
        const QStringList paths = writeImages(12);
        QCOMPARE(paths.size(), 12);
        QStringList withMissing = paths;
        withMissing.insert(5, tmp.filePath("missing.png"));

        ImagePrefetcher prefetcher(withMissing, decoders, capacity);
        for (int k = 0; k < withMissing.size(); ++k) {
            const QImage image = prefetcher.next();
            if (k == 5) {
                QVERIFY(image.isNull()); // a file that does not load
                continue;
            }
            const int expected = k < 5 ? k : k - 1;
            QCOMPARE(image.width(), expected + 1);
            QCOMPARE(image.format(), QImage::Format_Grayscale16);
        }
        QVERIFY(prefetcher.next().isNull()); // past the end
    }

    // Leaving early stops the workers instead of decoding the rest or hanging.
    void stopsEarly()
    {
        const QStringList paths = writeImages(12);
        ImagePrefetcher prefetcher(paths, 2, 3);
        QCOMPARE(prefetcher.next().width(), 1);
    }
};

QTEST_GUILESS_MAIN(TestImagePrefetcher)
#include "TestImagePrefetcher.moc"
