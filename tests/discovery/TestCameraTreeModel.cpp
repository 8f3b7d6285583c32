#include "CameraTreeItem.h"
#include "CameraTreeModel.h"

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

// The tree as text, one line per row, indented by level, showing column 0.
QString dump(const QAbstractItemModel& model, const QModelIndex& parent = QModelIndex(),
             int level = 0)
{
    QString out;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex idx = model.index(row, 0, parent);
        out += QString(level * 2, ' ') + idx.data().toString() + '\n';
        out += dump(model, idx, level + 1);
    }
    return out;
}

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

} // namespace

class TestCameraTreeModel : public QObject
{
    Q_OBJECT
private slots:
    void itemUnlinksWithoutDestroying();
    void beforeFirstInitAndEmptyList();
    void sharedBranchesInFirstSeenOrder();
    void displayAndTooltip();
    void flagsOfLeavesAndBranches();
    void removal_data();
    void removal();
    void removalInvalidatesPersistentBranchIndexes();
    void addSingleCamera();
    void addBeforeFirstInit();
    void accessChange();
    void extIdAndNameLookups();
};

void TestCameraTreeModel::itemUnlinksWithoutDestroying()
{
    CameraTreeItem root({{"Detected cameras", "root"}});
    auto* a = new CameraTreeItem(camera("A", "if", "tl"));
    auto* branch = new CameraTreeItem({{"Detected cameras", "branch"}});
    root.AppendChild(a);
    root.AppendChild(branch);
    QCOMPARE(branch->GetRow(), 1);
    QCOMPARE(root.GetChild(2), nullptr);

    QCOMPARE(root.GetChildRow(camera("A", "x", "y")), 0);
    QCOMPARE(root.GetChildRow(camera("B", "if", "tl")), -1);
    // A map without an extended ID never matches a branch (which has none).
    QCOMPARE(root.GetChildRow({{"Camera Name", "x"}}), -1);

    root.RemoveChild(5); // out of range: ignored
    QCOMPARE(root.ChildCount(), 2);
    root.RemoveCameraItem(camera("A", "if", "tl"));
    QCOMPARE(root.ChildCount(), 1);
    QCOMPARE(root.GetChild(0), branch);
    // Unlinked, not destroyed: it still works and no longer has a row.
    QCOMPARE(a->GetRow(), -1);
    QCOMPARE(a->GetData("Extended ID").toString(), QString("A"));
    delete a;
}

void TestCameraTreeModel::beforeFirstInitAndEmptyList()
{
    CameraTreeModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(model.columnCount(), 0);

    model.Init({});
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(model.columnCount(), 1);
    QCOMPARE(model.headerData(0, Qt::Horizontal).toString(), QString("Detected cameras"));
    QVERIFY(!model.headerData(0, Qt::Vertical).isValid());
    QVERIFY(!model.headerData(0, Qt::Horizontal, Qt::ToolTipRole).isValid());
    QCOMPARE(model.headerData(7, Qt::Horizontal).toString(), QString("TL Path"));
    QVERIFY(!model.headerData(8, Qt::Horizontal).isValid());
}

void TestCameraTreeModel::sharedBranchesInFirstSeenOrder()
{
    CameraTreeModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    // The interface ID eth0 exists under both transport layers.
    model.Init({camera("GigE:A", "eth0", "GigE"), camera("USB:C", "eth0", "USB"),
                camera("GigE:B", "eth0", "GigE"), camera("GigE:D", "eth1", "GigE")});

    QCOMPARE(dump(model), QString("GigE\n"
                                  "  eth0\n"
                                  "    kva123MXGE-42(A)\n"
                                  "    kva123MXGE-42(B)\n"
                                  "  eth1\n"
                                  "    kva123MXGE-42(D)\n"
                                  "USB\n"
                                  "  eth0\n"
                                  "    kva123MXGE-42(C)\n"));
    // Branch contents: a transport layer knows its path, an interface its ID.
    const QModelIndex gige = model.index(0, 0);
    const QModelIndex eth0 = model.index(0, 0, gige);
    QCOMPARE(model.columnCount(gige), 2);
    QCOMPARE(model.index(0, 7, QModelIndex()), QModelIndex());           // root has one column
    QCOMPARE(model.data(model.index(0, 1, gige)).toString(), QString()); // "Camera Name"
    QCOMPARE(model.data(gige, Qt::ToolTipRole).toString(),
             QString("<B>TL Path</B>: /tl/GigE.so<BR>"));
    QCOMPARE(model.data(eth0, Qt::ToolTipRole).toString(), QString("<B>Interface</B>: eth0<BR>"));
    QCOMPARE(model.parent(eth0), gige);
    QCOMPARE(model.parent(gige), QModelIndex());
}

void TestCameraTreeModel::displayAndTooltip()
{
    CameraTreeModel model;
    CameraInfoMap info = camera("GigE:DEV_1", "eth0", "GigE", false, "M1", "42");
    info["Camera Name"] = QVariant(QVariant::String); // null: left out of the tooltip
    model.Init({info});
    const QModelIndex leaf = model.index(0, 0, model.index(0, 0, model.index(0, 0)));

    QCOMPARE(model.data(leaf).toString(), QString("M1-42(DEV_1)"));
    QCOMPARE(model.data(leaf, Qt::ToolTipRole).toString(),
             QString("<B>Camera ID</B>: DEV_1<BR>"
                     "<B>Serial No.</B>: 42<BR>"
                     "<B>Full Access</B>: false<BR>"
                     "<B>Extended ID</B>: GigE:DEV_1<BR>"
                     "<B>Interface</B>: eth0<BR>"
                     "<B>TL Path</B>: /tl/GigE.so<BR>"));
    QVERIFY(!model.data(leaf, Qt::EditRole).isValid());
    // The columns under a branch are bounded by the branch's own keys.
    const QModelIndex itf = leaf.parent();
    QCOMPARE(model.columnCount(itf), 2);
    QVERIFY(model.index(0, 1, itf).isValid());
    QVERIFY(!model.index(0, 2, itf).isValid());

    // Edits are accepted and ignored.
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    QVERIFY(model.setData(leaf, "renamed"));
    QCOMPARE(model.data(leaf).toString(), QString("M1-42(DEV_1)"));
    QCOMPARE(changed.count(), 0);
}

void TestCameraTreeModel::flagsOfLeavesAndBranches()
{
    CameraTreeModel model;
    model.Init({camera("T:open", "eth0", "T", true), camera("T:locked", "eth0", "T", false)});
    const QModelIndex tl = model.index(0, 0);
    const QModelIndex itf = model.index(0, 0, tl);
    const QModelIndex open = model.index(0, 0, itf);
    const QModelIndex locked = model.index(1, 0, itf);

    QVERIFY(model.flags(open) & Qt::ItemIsEnabled);
    QVERIFY(model.flags(open) & Qt::ItemIsSelectable);
    QVERIFY(!(model.flags(locked) & Qt::ItemIsEnabled));
    for (const QModelIndex& branch : {tl, itf}) {
        QVERIFY(model.flags(branch) & Qt::ItemIsEnabled);
        QVERIFY(!(model.flags(branch) & Qt::ItemIsSelectable));
    }
    QVERIFY(!(model.flags(open) & Qt::ItemIsEditable));
}

void TestCameraTreeModel::removal_data()
{
    QTest::addColumn<QString>("extId");
    QTest::addColumn<QString>("tree");
    QTest::addColumn<QStringList>("removed");

    // Layout before each removal:
    //   GigE / eth0 / A, B ; GigE / eth1 / D ; USB / eth0 / C
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
    QTest::newRow("unknown camera")
        << "GigE:Z"
        << "GigE\n  eth0\n    kva123MXGE-42(A)\n    kva123MXGE-42(B)\n"
           "  eth1\n    kva123MXGE-42(D)\nUSB\n  eth0\n    kva123MXGE-42(C)\n"
        << QStringList{};
}

void TestCameraTreeModel::removal()
{
    QFETCH(QString, extId);
    QFETCH(QString, tree);
    QFETCH(QStringList, removed);

    CameraTreeModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.Init({camera("GigE:A", "eth0", "GigE"), camera("USB:C", "eth0", "USB"),
                camera("GigE:B", "eth0", "GigE"), camera("GigE:D", "eth1", "GigE")});

    RowLog aboutToRemove(&model, &QAbstractItemModel::rowsAboutToBeRemoved);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
    // A removed camera's map holds only its extended ID and name.
    model.OnCameraRemoved({{"Extended ID", extId}, {"Camera Name", "whatever"}});

    QCOMPARE(dump(model), tree);
    QCOMPARE(aboutToRemove.entries, removed);
    QCOMPARE(reset.count(), 0);
}

void TestCameraTreeModel::removalInvalidatesPersistentBranchIndexes()
{
    // A view keeps its current and expanded rows as persistent indexes; an
    // emptied branch must not leave them pointing at a destroyed node.
    CameraTreeModel model;
    model.Init({camera("GigE:A", "eth0", "GigE"), camera("USB:C", "eth0", "USB")});
    QPersistentModelIndex usb = model.index(1, 0);
    QPersistentModelIndex usbEth0 = model.index(0, 0, usb);
    QPersistentModelIndex gige = model.index(0, 0);

    model.OnCameraRemoved(camera("USB:C", "eth0", "USB"));
    QVERIFY(!usb.isValid());
    QVERIFY(!usbEth0.isValid());
    QVERIFY(gige.isValid());
    QCOMPARE(gige.data().toString(), QString("GigE"));
    QCOMPARE(model.rowCount(), 1);

    model.OnCameraRemoved(camera("GigE:A", "eth0", "GigE"));
    QVERIFY(!gige.isValid());
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(model.columnCount(), 1);
}

void TestCameraTreeModel::addSingleCamera()
{
    CameraTreeModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.Init({camera("GigE:A", "eth0", "GigE")});
    RowLog inserted(&model, &QAbstractItemModel::rowsInserted);

    model.OnCameraAdded(camera("GigE:B", "eth0", "GigE")); // existing branches
    model.OnCameraAdded(camera("GigE:D", "eth1", "GigE")); // new interface
    model.OnCameraAdded(camera("USB:C", "eth0", "USB"));   // new transport layer, same if ID
    model.OnCameraAdded(camera("GigE:B", "eth0", "GigE")); // already shown: ignored

    QCOMPARE(dump(model), QString("GigE\n"
                                  "  eth0\n"
                                  "    kva123MXGE-42(A)\n"
                                  "    kva123MXGE-42(B)\n"
                                  "  eth1\n"
                                  "    kva123MXGE-42(D)\n"
                                  "USB\n"
                                  "  eth0\n"
                                  "    kva123MXGE-42(C)\n"));
    QCOMPARE(inserted.entries, QStringList({"eth0[1-1]", "GigE[1-1]", "eth1[0-0]", "root[1-1]",
                                            "USB[0-0]", "eth0[0-0]"}));
    // The new branches carry the same keys as those a full rebuild makes.
    const QModelIndex usb = model.index(1, 0);
    QCOMPARE(model.data(usb, Qt::ToolTipRole).toString(),
             QString("<B>TL Path</B>: /tl/USB.so<BR>"));
    QCOMPARE(model.data(model.index(0, 0, usb), Qt::ToolTipRole).toString(),
             QString("<B>Interface</B>: eth0<BR>"));
}

void TestCameraTreeModel::addBeforeFirstInit()
{
    CameraTreeModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.OnCameraAdded(camera("GigE:A", "eth0", "GigE"));
    QCOMPARE(model.columnCount(), 1);
    QCOMPARE(dump(model), QString("GigE\n  eth0\n    kva123MXGE-42(A)\n"));
}

void TestCameraTreeModel::accessChange()
{
    CameraTreeModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.Init({camera("T:A", "eth0", "T", false), camera("T:B", "eth0", "T", false)});
    const QModelIndex b = model.index(1, 0, model.index(0, 0, model.index(0, 0)));
    QVERIFY(!(model.flags(b) & Qt::ItemIsEnabled));

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
}

void TestCameraTreeModel::extIdAndNameLookups()
{
    CameraTreeModel model;
    model.Init({camera("T:A", "eth0", "T"), camera("T:B", "eth1", "T")});
    const QModelIndex tl = model.index(0, 0);
    const QModelIndex leafB = model.index(0, 0, model.index(1, 0, tl));
    QCOMPARE(model.GetCameraExtId(leafB), QString("T:B"));
    QCOMPARE(model.GetCameraName(leafB), QString("Name T:B"));
    QCOMPARE(model.GetCameraExtId(tl), QString());
    QCOMPARE(model.GetCameraName(tl), QString());
    QCOMPARE(model.GetCameraExtId(QModelIndex()), QString());

    CameraTreeItem* root = static_cast<CameraTreeItem*>(tl.internalPointer())->ParentItem();
    QCOMPARE(model.GetCameraIndex(root, camera("T:B", "", "")), leafB);
    QCOMPARE(model.GetCameraIndex(root, camera("T:Q", "", "")), QModelIndex());
    QCOMPARE(model.GetBranchIndex(root, "T"), tl);
    QCOMPARE(model.GetBranchIndex(root, "eth0"), QModelIndex()); // direct children only
}

QTEST_GUILESS_MAIN(TestCameraTreeModel)
#include "TestCameraTreeModel.moc"
