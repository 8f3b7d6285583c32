#include "OrxPixmapLabel.h"

#include <QtTest>

// The mean image labels: the image is kept as given and shown scaled to the
// label with its aspect ratio, following every resize while it is shown.
class TestOrxPixmapLabel : public QObject
{
    Q_OBJECT
private slots:
    void scalesKeepingAspectRatio()
    {
        QImage image(64, 48, QImage::Format_Grayscale16);
        image.fill(Qt::gray);
        OrxPixmapLabel label;
        label.resize(200, 100);
        label.setImage(image);
        QCOMPARE(label.image(), image);
        // Hidden, it spends no time on a picture nobody sees.
        QVERIFY(label.pixmap(Qt::ReturnByValue).isNull());

        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        QCOMPARE(label.pixmap(Qt::ReturnByValue).size(), QSize(133, 100));
        label.resize(64, 300);
        QCOMPARE(label.pixmap(Qt::ReturnByValue).size(), QSize(64, 48));

        label.setImage(QImage());
        QVERIFY(label.pixmap(Qt::ReturnByValue).isNull());
    }
};

QTEST_MAIN(TestOrxPixmapLabel)
#include "TestOrxPixmapLabel.moc"
