// The backup store: names that sort in time order, two backups of one
// millisecond kept apart, a failed download leaving nothing, the newest 20
// of an entry kept.
#include "NucMapBackups.h"
#include "NucMapFile.h"
#include "TestFiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QDateTime kNow(QDate(2026, 11, 24), QTime(0, 23, 15, 123), Qt::UTC);

// A download that writes content, or fails with why.
NucMapBackups::Download writing(const QByteArray& content, const QString& why = QString())
{
    return [content, why](const QString& path, QString* error) {
        writeFile(path, content);
        *error = why;
        return why.isEmpty();
    };
}

QStringList fileNames(const QString& dir)
{
    return QDir(dir).entryList(QDir::Files, QDir::Name);
}

} // namespace

class TestNucMapBackups : public QObject
{
    Q_OBJECT

private slots:
    void namesListingAndFailure()
    {
        QTemporaryDir root;
        const NucMapBackups store(root.path());
        const QByteArray map = NucMapFile::binFile(8196, 2, 1, {0x2600, 0x0001});
        QString error;
        const QString first = store.take("OX/64", "ShadingMap1", "bin", writing(map), &error, kNow);
        const QString second =
            store.take("OX/64", "ShadingMap1", "bin", writing("no map"), &error, kNow);
        const QString user =
            store.take("OX/64", "NucUserMap0", "ge3", writing(NucMapFile::userMapFile(1, 1, {7})),
                       &error, kNow.addSecs(-3600));
        // The serial's slash cannot make a folder of its own.
        QCOMPARE(first, root.path() + "/OX_64/ShadingMap1-20261124T002315.123Z.bin");
        QCOMPARE(second, root.path() + "/OX_64/ShadingMap1-20261124T002315.124Z.bin");
        QCOMPARE(readFile(first), map);

        QCOMPARE(store.take("OX/64", "ShadingMap1", "bin", writing("half", "cut off"), &error,
                            kNow.addSecs(1)),
                 QString());
        QCOMPARE(error, QString("cut off"));
        QCOMPARE(fileNames(store.folder("OX/64")).size(), 3);

        const QList<NucMapBackups::Backup> all = store.list("OX/64");
        QCOMPARE(all.size(), 3);
        QCOMPARE(all[0].path, second);
        QCOMPARE(NucMapBackups::describe(all[0]),
                 QString("2026-11-24 00:23:15.124 UTC, 6 bytes, not a map file"));
        QCOMPARE(NucMapBackups::describe(all[1]),
                 QString("2026-11-24 00:23:15.123 UTC, 36 bytes, map id 8196"));
        QCOMPARE(all[1].entry, QString("ShadingMap1"));
        QCOMPARE(NucMapBackups::describe(all[2]),
                 QString("2026-11-23 23:23:15.123 UTC, 62 bytes, user map"));
        QCOMPARE(store.list("OX/64", "NucUserMap0").size(), 1);
        QVERIFY(store.list("OX-64").isEmpty());
    }

    void keepsTheNewestTwentyOfAnEntry()
    {
        QTemporaryDir root;
        const NucMapBackups store(root.path());
        QString error;
        const QString other =
            store.take("S", "ShadingMap0", "bin", writing("0"), &error, kNow.addYears(-1));
        for (int i = 0; i < 25; ++i)
            store.take("S", "ShadingMap1", "bin", writing(QByteArray::number(i)), &error,
                       kNow.addSecs(i));
        const QList<NucMapBackups::Backup> kept = store.list("S", "ShadingMap1");
        QCOMPARE(kept.size(), NucMapBackups::Kept);
        QCOMPARE(readFile(kept.first().path), QByteArray("24"));
        QCOMPARE(readFile(kept.last().path), QByteArray("5"));
        QVERIFY(QFile::exists(other));
    }
};

QTEST_GUILESS_MAIN(TestNucMapBackups)
#include "TestNucMapBackups.moc"
