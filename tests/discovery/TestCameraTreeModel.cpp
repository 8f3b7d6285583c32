#include "CameraTreeItem.h"
#include "CameraTreeModel.h"
#include "TreeDump.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QtTest>

namespace {

CameraInfoMap camera(const QString& extId, const QString& itf, const QString& tl,
                     bool fullAccess = true, const QString& model = "kva123MXGE",
                     const QString& serial = "42")
{
    return {{"Extended ID", extId},     {"Camera ID", extId.section(':', -1)},
            {"Model Name", model},      {"Camera Name", "Name " + extId},
            {"Serial No.", serial},     {"Interface", itf},
            {"Transport Layer", tl},    {"TL Path", "/tl/" + tl + ".so"},
            {"Full Access", fullAccess}};
}

// The interface ID eth0 exists under both transport layers.
const QVector<CameraInfoMap> kFour{camera("GigE:A", "eth0", "GigE"), camera("USB:C", "eth0", "USB"),
                                   camera("GigE:B", "eth0", "GigE"),
                                   camera("GigE:D", "eth1", "GigE")};
const QString kFourTree = "GigE\n"
                          "  eth0\n"
                          "    kva123MXGE-42(A)\n"
                          "    kva123MXGE-42(B)\n"
                          "  eth1\n"
                          "    kva123MXGE-42(D)\n"
                          "USB\n"
                          "  eth0\n"
                          "    kva123MXGE-42(C)\n";

// Records (parent's column 0 text, first, last) of a row notification at the
// moment it is emitted: after a removal the parent row may be gone.
class RowLog
{
public:
    template <typename Signal> RowLog(QAbstractItemModel* model, Signal signal)
    {
        QObject::connect(model, signal, [this](const QModelIndex& parent, int first, int last) {
            entries << QString("%1[%2-%3]")
                           .arg(parent.isValid() ? parent.data().toString() : "root")
                           .arg(first)
                           .arg(last);
        });
    }
    QStringList entries;
};

// A model checked throughout by Qt's own tester.
struct TestedModel : CameraTreeModel
{
    QAbstractItemModelTester tester{this, QAbstractItemModelTester::FailureReportingMode::QtTest};
};

} // namespace

class TestCameraTreeModel : public QObject
{
    Q_OBJECT
private slots:
    void displayTooltipAndFlags();
    void removal_data();
    void removal();
};

void TestCameraTreeModel::displayTooltipAndFlags()
{
    TestedModel model;
    CameraInfoMap info = camera("GigE:DEV_1", "eth0", "GigE", false, "M1", "42");
    info["Camera Name"] = QVariant(QVariant::String); // null: left out of the tooltip
    model.Init({info, camera("GigE:open", "eth0", "GigE")});
    const QModelIndex tl = model.index(0, 0);
    const QModelIndex itf = model.index(0, 0, tl);
    const QModelIndex locked = model.index(0, 0, itf);
    const QModelIndex open = model.index(1, 0, itf);

    QCOMPARE(model.data(locked).toString(), QString("M1-42(DEV_1)"));
    QCOMPARE(model.data(locked, Qt::ToolTipRole).toString(),
             QString("<B>Camera ID</B>: DEV_1<BR>"
                     "<B>Serial No.</B>: 42<BR>"
                     "<B>Full Access</B>: false<BR>"
                     "<B>Extended ID</B>: GigE:DEV_1<BR>"
                     "<B>Interface</B>: eth0<BR>"
                     "<B>TL Path</B>: /tl/GigE.so<BR>"
                     "<B>Cannot be opened</B>: held by another application; not supported by "
                     "this program<BR>"));
    // A transport layer knows its path, an interface its ID.
    QCOMPARE(model.data(tl, Qt::ToolTipRole).toString(),
             QString("<B>TL Path</B>: /tl/GigE.so<BR>"));
    QCOMPARE(model.data(itf, Qt::ToolTipRole).toString(), QString("<B>Interface</B>: eth0<BR>"));

    QVERIFY(!(model.flags(locked) & Qt::ItemIsEnabled));
    const int mask = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable;
    QCOMPARE(int(model.flags(open)) & mask, int(Qt::ItemIsEnabled | Qt::ItemIsSelectable));
    for (const QModelIndex& branch : {tl, itf})
        QCOMPARE(int(model.flags(branch)) & mask, int(Qt::ItemIsEnabled));
}

void TestCameraTreeModel::removal_data()
{
    QTest::addColumn<QString>("extId");
    QTest::addColumn<QString>("tree");
    QTest::addColumn<QStringList>("removed");

    QTest::newRow("one of two on an interface")
        << "GigE:A"
        << "GigE\n  eth0\n    kva123MXGE-42(B)\n  eth1\n    kva123MXGE-42(D)\n"
           "USB\n  eth0\n    kva123MXGE-42(C)\n"
        << QStringList{"eth0[0-0]"};
    QTest::newRow("last of an interface")
        << "GigE:D"
        << "GigE\n  eth0\n    kva123MXGE-42(A)\n    kva123MXGE-42(B)\n"
           "USB\n  eth0\n    kva123MXGE-42(C)\n"
        << QStringList{"eth1[0-0]", "GigE[1-1]"};
    QTest::newRow("last of a transport layer")
        << "USB:C"
        << "GigE\n  eth0\n    kva123MXGE-42(A)\n    kva123MXGE-42(B)\n"
           "  eth1\n    kva123MXGE-42(D)\n"
        << QStringList{"eth0[0-0]", "USB[0-0]", "root[1-1]"};
    QTest::newRow("unknown camera") << "GigE:Z" << kFourTree << QStringList{};
}

void TestCameraTreeModel::removal()
{
    QFETCH(QString, extId);
    QFETCH(QString, tree);
    QFETCH(QStringList, removed);

    TestedModel model;
    model.Init(kFour);
    // A view keeps its rows as persistent indexes: emptied branches must not
    // leave them pointing at destroyed nodes.
    QPersistentModelIndex usb = model.index(1, 0);
    RowLog aboutToRemove(&model, &QAbstractItemModel::rowsAboutToBeRemoved);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
    // A removed camera's map holds only its extended ID and name.
    model.OnCameraRemoved({{"Extended ID", extId}, {"Camera Name", "whatever"}});

    QCOMPARE(dumpTree(model), tree);
    QCOMPARE(aboutToRemove.entries, removed);
    QCOMPARE(reset.count(), 0);
    QCOMPARE(usb.isValid(), tree.contains("USB"));
}

QTEST_GUILESS_MAIN(TestCameraTreeModel)
#include "TestCameraTreeModel.moc"
