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
    void emptyAndHeader();
    void sharedBranchesInFirstSeenOrder();
    void displayTooltipAndFlags();
    void removal_data();
    void removal();
    void addSingleCamera();
    void accessChangeAndLookups();
};

void TestCameraTreeModel::emptyAndHeader()
{
    TestedModel model;
    QCOMPARE(model.columnCount(), 0);
    model.Init({});
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(model.columnCount(), 1);
    QCOMPARE(model.headerData(0, Qt::Horizontal).toString(), QString("Detected cameras"));
    QVERIFY(!model.headerData(0, Qt::Vertical).isValid());

    // A camera added before the first list builds its branches all the same.
    TestedModel early;
    early.OnCameraAdded(camera("GigE:A", "eth0", "GigE"));
    QCOMPARE(early.columnCount(), 1);
    QCOMPARE(dumpTree(early), QString("GigE\n  eth0\n    kva123MXGE-42(A)\n"));
}

void TestCameraTreeModel::sharedBranchesInFirstSeenOrder()
{
    TestedModel model;
    model.Init(kFour);
    QCOMPARE(dumpTree(model), kFourTree);
    // Branch contents: a transport layer knows its path, an interface its ID.
    const QModelIndex gige = model.index(0, 0);
    const QModelIndex eth0 = model.index(0, 0, gige);
    QCOMPARE(model.data(gige, Qt::ToolTipRole).toString(),
             QString("<B>TL Path</B>: /tl/GigE.so<BR>"));
    QCOMPARE(model.data(eth0, Qt::ToolTipRole).toString(), QString("<B>Interface</B>: eth0<BR>"));
    QCOMPARE(model.parent(eth0), gige);
}

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

    QVERIFY(!(model.flags(locked) & Qt::ItemIsEnabled));
    const int mask = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable;
    QCOMPARE(int(model.flags(open)) & mask, int(Qt::ItemIsEnabled | Qt::ItemIsSelectable));
    for (const QModelIndex& branch : {tl, itf})
        QCOMPARE(int(model.flags(branch)) & mask, int(Qt::ItemIsEnabled));

    // Edits are accepted and ignored.
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    QVERIFY(model.setData(locked, "renamed"));
    QCOMPARE(model.data(locked).toString(), QString("M1-42(DEV_1)"));
    QCOMPARE(changed.count(), 0);
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

void TestCameraTreeModel::addSingleCamera()
{
    TestedModel model;
    model.Init({camera("GigE:A", "eth0", "GigE")});
    RowLog inserted(&model, &QAbstractItemModel::rowsInserted);

    model.OnCameraAdded(camera("GigE:B", "eth0", "GigE")); // existing branches
    model.OnCameraAdded(camera("GigE:D", "eth1", "GigE")); // new interface
    model.OnCameraAdded(camera("USB:C", "eth0", "USB"));   // new transport layer, same if ID
    model.OnCameraAdded(camera("GigE:B", "eth0", "GigE")); // already shown: ignored

    QCOMPARE(dumpTree(model), kFourTree);
    QCOMPARE(inserted.entries, QStringList({"eth0[1-1]", "GigE[1-1]", "eth1[0-0]", "root[1-1]",
                                            "USB[0-0]", "eth0[0-0]"}));
    // The new branches carry the same keys as those a full rebuild makes.
    const QModelIndex usb = model.index(1, 0);
    QCOMPARE(model.data(usb, Qt::ToolTipRole).toString(),
             QString("<B>TL Path</B>: /tl/USB.so<BR>"));
    QCOMPARE(model.data(model.index(0, 0, usb), Qt::ToolTipRole).toString(),
             QString("<B>Interface</B>: eth0<BR>"));
}

void TestCameraTreeModel::accessChangeAndLookups()
{
    TestedModel model;
    model.Init({camera("T:A", "eth0", "T", false), camera("T:B", "eth0", "T", false)});
    const QModelIndex tl = model.index(0, 0);
    const QModelIndex b = model.index(1, 0, model.index(0, 0, tl));
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    model.OnCameraAccessChanged(camera("T:B", "eth0", "T", true));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(changed.at(0).at(0).toModelIndex(), b);
    QCOMPARE(changed.at(0).at(1).toModelIndex(), b);
    QVERIFY(model.flags(b) & Qt::ItemIsEnabled);
    QVERIFY(model.data(b, Qt::ToolTipRole).toString().contains("<B>Full Access</B>: true<BR>"));
    QVERIFY(!(model.flags(b.sibling(0, 0)) & Qt::ItemIsEnabled));
    model.OnCameraAccessChanged(camera("T:Z", "eth0", "T", true));
    QCOMPARE(changed.count(), 1);

    QCOMPARE(model.GetCameraExtId(b), QString("T:B"));
    QCOMPARE(model.GetCameraExtId(tl), QString());
}

QTEST_GUILESS_MAIN(TestCameraTreeModel)
#include "TestCameraTreeModel.moc"
