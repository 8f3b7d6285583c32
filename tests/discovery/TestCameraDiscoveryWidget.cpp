#include "ApiController.h"
#include "CameraDiscoveryWidget.h"
#include "CameraTreeModel.h"
#include "TreeDump.h"

#include <HvxSimControl.h>

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTreeView>
#include <QtTest>

namespace {

QString cameraJson(const QString& id, const QString& model, const QString& transport = "GigE",
                   const QString& extra = QString())
{
    return QString(R"({"id": "%1", "model": "%2", "name": "Name %1", "serial": "SN%1",)"
                   R"( "transport": "%3", "width": 64, "height": 32%4})")
        .arg(id, model, transport, extra.isEmpty() ? QString() : ", " + extra);
}

// The controls, found by their object names.
struct Controls
{
    explicit Controls(CameraDiscoveryWidget& w)
        : tree(w.findChild<QTreeView*>("treeCameras")),
          stack(w.findChild<QStackedWidget*>("stackOpenClose")),
          open(w.findChild<QPushButton*>("btnOpenCamera")),
          close(w.findChild<QPushButton*>("btnCloseCamera")),
          autoRefresh(w.findChild<QCheckBox*>("chkAutoRefresh")),
          compatibleOnly(w.findChild<QCheckBox*>("chkCompatibleOnly")),
          label(w.findChild<QLabel*>("lblRefreshInfo")),
          refresh(w.findChild<QPushButton*>("btnRefresh"))
    {
    }
    QTreeView* tree;
    QStackedWidget* stack;
    QPushButton* open;
    QPushButton* close;
    QCheckBox* autoRefresh;
    QCheckBox* compatibleOnly;
    QLabel* label;
    QPushButton* refresh;
};

// What a user's double click delivers: a click, then the double-click event.
void doubleClickRow(QTreeView* tree, const QModelIndex& index)
{
    const QPoint p = tree->visualRect(index).center();
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, p);
    QTest::mouseDClick(tree->viewport(), Qt::LeftButton, {}, p);
}

} // namespace

class TestCameraDiscoveryWidget : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void startupToFirstFilteredList();
    void labelTexts_data();
    void labelTexts();
    void hotPlugInAndOut();
    void openButtonFollowsCurrentRow();
    void openAndCloseSwitchPages();

private:
    // Writes the simulator's configuration for the next widget.
    void useCameras(const QStringList& cameras);
    // Waits until the widget has shown its first list.
    bool waitForFirstList(CameraDiscoveryWidget& widget);

    QTemporaryDir m_dir;
    int m_configs = 0;
};

void TestCameraDiscoveryWidget::initTestCase()
{
    QVERIFY(m_dir.isValid());
}

void TestCameraDiscoveryWidget::useCameras(const QStringList& cameras)
{
    const QString path = m_dir.filePath(QString("cameras%1.json").arg(++m_configs));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QString(R"({"cameras": [%1]})").arg(cameras.join(", ")).toUtf8());
    file.close();
    qputenv("HVX_SIM_CONFIG", path.toLocal8Bit());
}

bool TestCameraDiscoveryWidget::waitForFirstList(CameraDiscoveryWidget& widget)
{
    QSignalSpy reset(widget.findChild<QTreeView*>("treeCameras")->model(),
                     &QAbstractItemModel::modelReset);
    return reset.wait(5000) || reset.count() > 0;
}

void TestCameraDiscoveryWidget::startupToFirstFilteredList()
{
    useCameras({cameraJson("A", "kva640MXGE"), cameraJson("B", "gx1280C-PoE"),
                cameraJson("C", "zt1280MLV", "USB3")});
    CameraDiscoveryWidget widget;
    Controls c(widget);
    QSignalSpy ready(&widget, &CameraDiscoveryWidget::HvSystemReady);
    QSignalSpy available(&widget, &CameraDiscoveryWidget::ApiControllerAvailable);
    QSignalSpy errors(&widget, &CameraDiscoveryWidget::ApiError);

    // Before the SDK has started.
    QVERIFY(!widget.GetApiController());
    QCOMPARE(c.label->text(), QString("Refresh in progress..."));
    QVERIFY(!c.label->isHidden());
    QVERIFY(!c.open->isEnabled());
    QCOMPARE(c.stack->currentWidget(), c.open);
    QVERIFY(c.autoRefresh->isChecked() && c.compatibleOnly->isChecked());
    // The start-up result reaches the widget through the event loop, which
    // has not run yet: there is no controller to ask.
    c.autoRefresh->setChecked(false);
    QCOMPARE(errors.count(), 1);
    QCOMPARE(errors.takeFirst().at(0).toString(),
             QString("Failed to disable the automatic refresh of cameras"));
    c.autoRefresh->setChecked(true);
    errors.clear();

    QVERIFY(waitForFirstList(widget));
    QCOMPARE(ready.count(), 1);
    QCOMPARE(available.count(), 1);
    const auto handed = available.at(0).at(0).value<std::shared_ptr<ApiController>>();
    QVERIFY(handed);
    QCOMPARE(handed, widget.GetApiController());

    // The incompatible B is filtered out. The simulator is one transport
    // layer with an interface per bus.
    QCOMPARE(c.tree->model()->headerData(0, Qt::Horizontal).toString(),
             QString("Detected cameras"));
    QCOMPARE(dumpTree(*c.tree->model()), QString("Orvex Simulated Transport Layer\n"
                                                 "  sim-gige-0\n"
                                                 "    kva640MXGE-SNA(A)\n"
                                                 "  sim-usb3-0\n"
                                                 "    zt1280MLV-SNC(C)\n"));
    const QModelIndex a = findRow(*c.tree->model(), "kva640MXGE-SNA(A)");
    QVERIFY(c.tree->isExpanded(a.parent()) && c.tree->isExpanded(a.parent().parent()));
    QVERIFY(c.label->isHidden());
    QVERIFY(c.refresh->isEnabled());
    QVERIFY(QApplication::overrideCursor() == nullptr);
    QCOMPARE(errors.count(), 0);

    // The controller's errors are passed on for the log.
    QVERIFY(!handed->GetCameraPtr("sim::nobody"));
    QTRY_COMPARE(errors.count(), 1);
    QCOMPARE(errors.at(0).at(0).toString(),
             QString("Failed to get camera for sim::nobody (error: Not found.)"));
}

void TestCameraDiscoveryWidget::labelTexts_data()
{
    QTest::addColumn<QStringList>("cameras");
    QTest::addColumn<QString>("filtered");
    QTest::addColumn<QString>("unfiltered");
    QTest::addColumn<int>("unfilteredRows");

    QTest::newRow("incompatible camera only")
        << QStringList{cameraJson("B", "gx1280C-PoE")} << "No compatible cameras found"
        << "" << 1;
    QTest::newRow("no camera at all") << QStringList{} << "No compatible cameras found"
                                      << "No cameras found" << 0;
}

void TestCameraDiscoveryWidget::labelTexts()
{
    QFETCH(QStringList, cameras);
    QFETCH(QString, filtered);
    QFETCH(QString, unfiltered);
    QFETCH(int, unfilteredRows);

    useCameras(cameras);
    CameraDiscoveryWidget widget;
    Controls c(widget);
    QVERIFY(waitForFirstList(widget));
    QCOMPARE(c.tree->model()->rowCount(), 0);
    QVERIFY(!c.label->isHidden());
    QCOMPARE(c.label->text(), filtered);

    // Unchecking the filter starts a refresh by itself.
    QSignalSpy reset(c.tree->model(), &QAbstractItemModel::modelReset);
    c.compatibleOnly->setChecked(false);
    QVERIFY(!c.refresh->isEnabled());
    QVERIFY(QApplication::overrideCursor());
    QCOMPARE(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    QVERIFY(reset.wait(5000));
    QVERIFY(c.refresh->isEnabled());
    QVERIFY(QApplication::overrideCursor() == nullptr);
    QCOMPARE(c.tree->model()->rowCount(), unfilteredRows);
    QCOMPARE(c.label->isHidden(), unfilteredRows > 0);
    if (unfilteredRows == 0)
        QCOMPARE(c.label->text(), unfiltered);

    // Checking it again filters again; the Refresh button fetches anew.
    c.compatibleOnly->setChecked(true);
    QVERIFY(reset.wait(5000));
    QTest::mouseClick(c.refresh, Qt::LeftButton);
    QVERIFY(!c.refresh->isEnabled());
    QVERIFY(reset.wait(5000));
    QCOMPARE(c.tree->model()->rowCount(), 0);
    QCOMPARE(c.label->text(), filtered);
}

void TestCameraDiscoveryWidget::hotPlugInAndOut()
{
    useCameras({cameraJson("A", "kva640MXGE")});
    CameraDiscoveryWidget widget;
    Controls c(widget);
    QVERIFY(waitForFirstList(widget));
    HvxSim::IControl* sim = HvxSim::Control();
    QVERIFY(sim);
    QSignalSpy removed(&widget, &CameraDiscoveryWidget::CameraRemoved);
    // Connected after the widget's own handler, so it sees each event after the widget.
    QSignalSpy added(widget.GetApiController().get(), &ApiController::CameraAdded);

    // An incompatible camera is announced but never shown while filtered.
    QCOMPARE(sim->AddCamera(cameraJson("X", "gx1280C-PoE", "USB3").toStdString()), 0);
    // The SDK may also announce cameras it learnt of during the first refresh.
    const auto announced = [&added](const QString& model) {
        for (const QList<QVariant>& args : added) {
            if (args.at(0).value<CameraInfoMap>().value("Model Name").toString() == model)
                return true;
        }
        return false;
    };
    QTRY_VERIFY(announced("gx1280C-PoE"));
    QVERIFY(!dumpTree(*c.tree->model()).contains("(X)"));
    QCOMPARE(c.tree->model()->rowCount(), 1);

    // A compatible one on a new interface appears, expanded.
    QCOMPARE(sim->AddCamera(cameraJson("H", "zt1280MLV", "USB3").toStdString()), 0);
    QTRY_VERIFY(findRow(*c.tree->model(), "zt1280MLV-SNH(H)").isValid());
    const QModelIndex h = findRow(*c.tree->model(), "zt1280MLV-SNH(H)");
    QVERIFY(c.tree->isExpanded(h.parent()));
    QCOMPARE(dumpTree(*c.tree->model()), QString("Orvex Simulated Transport Layer\n"
                                                 "  sim-gige-0\n"
                                                 "    kva640MXGE-SNA(A)\n"
                                                 "  sim-usb3-0\n"
                                                 "    zt1280MLV-SNH(H)\n"));

    // Leaving: the row and its emptied branches go, and the widget says who left.
    QCOMPARE(sim->RemoveCamera("H"), 0);
    QTRY_COMPARE(removed.count(), 1);
    QCOMPARE(removed.at(0), QVariantList({"sim::H", "Name H"}));
    QCOMPARE(dumpTree(*c.tree->model()), QString("Orvex Simulated Transport Layer\n"
                                                 "  sim-gige-0\n"
                                                 "    kva640MXGE-SNA(A)\n"));
    QVERIFY(c.label->isHidden());

    // The last camera leaving empties the tree and brings the label back.
    QCOMPARE(sim->RemoveCamera("A"), 0);
    QTRY_COMPARE(removed.count(), 2);
    QCOMPARE(c.tree->model()->rowCount(), 0);
    QVERIFY(!c.label->isHidden());
    QCOMPARE(c.label->text(), QString("No compatible cameras found"));
}

void TestCameraDiscoveryWidget::openButtonFollowsCurrentRow()
{
    useCameras({cameraJson("A", "kva640MXGE"),
                cameraJson("L", "kva640MXGE", "GigE", R"("heldByOtherApplication": true)")});
    CameraDiscoveryWidget widget;
    widget.resize(400, 300);
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
    Controls c(widget);
    QVERIFY(waitForFirstList(widget));
    const QAbstractItemModel* model = c.tree->model();
    const QModelIndex a = findRow(*model, "kva640MXGE-SNA(A)");
    const QModelIndex locked = findRow(*model, "kva640MXGE-SNL(L)");
    QVERIFY(a.isValid() && locked.isValid());
    QVERIFY(!(model->flags(locked) & Qt::ItemIsEnabled));

    c.tree->setCurrentIndex(a);
    QVERIFY(c.open->isEnabled());
    c.tree->setCurrentIndex(a.parent()); // interface
    QVERIFY(!c.open->isEnabled());
    c.tree->setCurrentIndex(a.parent().parent()); // transport layer
    // The view refuses a camera without full access as current row.
    c.tree->setCurrentIndex(locked);
    QCOMPARE(c.tree->currentIndex(), a.parent().parent());
    QVERIFY(!c.open->isEnabled());
    // Access changes reported by the controller reach the tree and the button.
    c.tree->setCurrentIndex(a);
    QVERIFY(c.open->isEnabled());
    CameraInfoMap info =
        widget.GetApiController()->GetCameraInfo(widget.GetApiController()->GetCameraPtr("sim::A"));
    info["Full Access"] = false;
    emit widget.GetApiController()->CameraOpenStateChanged(info);
    QVERIFY(!(model->flags(a) & Qt::ItemIsEnabled));
    QVERIFY(!c.open->isEnabled());
    info["Full Access"] = true;
    emit widget.GetApiController()->CameraOpenStateChanged(info);
    QVERIFY(c.open->isEnabled());

    // Forced past the view, such a row still neither enables nor opens anything.
    c.tree->selectionModel()->setCurrentIndex(locked, QItemSelectionModel::NoUpdate);
    QCOMPARE(c.tree->currentIndex(), locked);
    QVERIFY(!c.open->isEnabled());
    // Nothing is opened from a branch or a camera without full access.
    QSignalSpy opened(&widget, &CameraDiscoveryWidget::CameraOpened);
    widget.OnCameraStatusChanged(true);
    c.tree->setCurrentIndex(a.parent());
    widget.OnCameraStatusChanged(true);
    QCOMPARE(opened.count(), 0);

    // With another camera current, a double click on the held one opens
    // nothing and says why.
    c.tree->setCurrentIndex(a);
    doubleClickRow(c.tree, locked);
    QCOMPARE(opened.count(), 0);
    QVERIFY(c.label->isVisible());
    QCOMPARE(c.label->text(),
             QString("kva640MXGE-SNL(L) cannot be opened: held by another application"));
    // A camera that can be opened takes the label away again.
    QTest::mouseClick(c.tree->viewport(), Qt::LeftButton, {}, c.tree->visualRect(a).center());
    QVERIFY(c.label->isHidden());
    QCOMPARE(opened.count(), 0);
}

void TestCameraDiscoveryWidget::openAndCloseSwitchPages()
{
    useCameras({cameraJson("A", "kva640MXGE")});
    CameraDiscoveryWidget widget;
    widget.resize(400, 300);
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
    Controls c(widget);
    QVERIFY(waitForFirstList(widget));
    QSignalSpy opened(&widget, &CameraDiscoveryWidget::CameraOpened);

    // A double click on a branch opens nothing (and folds it: unfold it again).
    doubleClickRow(c.tree, findRow(*c.tree->model(), "kva640MXGE-SNA(A)").parent());
    QCOMPARE(opened.count(), 0);
    QCOMPARE(c.stack->currentWidget(), c.open);
    c.tree->expandAll();

    doubleClickRow(c.tree, findRow(*c.tree->model(), "kva640MXGE-SNA(A)"));
    QCOMPARE(opened.count(), 1);
    QCOMPARE(opened.at(0).at(0).toString(), QString("sim::A"));
    QCOMPARE(c.stack->currentWidget(), c.close);
    QVERIFY(!c.tree->isEnabled());
    // A camera leaving while the tree is disabled for an open camera frees the tree.
    QSignalSpy removed(&widget, &CameraDiscoveryWidget::CameraRemoved);
    QCOMPARE(HvxSim::Control()->RemoveCamera("A"), 0);
    QTRY_COMPARE(removed.count(), 1);
    QVERIFY(c.tree->isEnabled());
}

QTEST_MAIN(TestCameraDiscoveryWidget)
#include "TestCameraDiscoveryWidget.moc"
