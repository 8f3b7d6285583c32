#pragma once

#include "CameraTreeModel.h"
#include "MainWindow.h"

#include <QAction>
#include <QCheckBox>
#include <QDockWidget>
#include <QFile>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTreeView>
#include <QtTest>

// The simulated cameras of one test, written to a configuration file that the
// camera SDK reads when a window starts it.
class SimConfig
{
public:
    explicit SimConfig(const QByteArray& camerasJson)
        : m_dir(QString::fromLocal8Bit(qgetenv("ORVEX_TEST_TMP")) + "/sim-XXXXXX")
    {
        QFile file(m_dir.filePath("cameras.json"));
        if (m_dir.isValid() && file.open(QIODevice::WriteOnly) &&
            file.write("{\"cameras\": " + camerasJson + "}") > 0) {
            qputenv("HVX_SIM_CONFIG", QFile::encodeName(file.fileName()));
            m_ok = true;
        }
    }
    bool ok() const { return m_ok; }
    QString path(const QString& name) const { return m_dir.filePath(name); }

private:
    QTemporaryDir m_dir;
    bool m_ok = false;
};

// The program's main window with its inner parts in reach of the tests.
class TestWindow : public MainWindow
{
public:
    static constexpr const char* Title = "Varnholt Orvex NUC Correction Assistant";

    TestWindow() { setDefaultWindowTitle(Title); }

    using BasicMainWindow::m_cameraListDock;
    using BasicMainWindow::m_cameraManager;
    using BasicMainWindow::m_logList;
    using BasicMainWindow::m_logViewDock;

    QDockWidget* assistantDock() const { return findChild<QDockWidget*>("assistantDock"); }
    QWidget* assistant() const { return assistantDock()->widget(); }
    template <typename T> T* panelChild(const char* name) const
    {
        return assistant()->findChild<T*>(name);
    }
    QTreeView* tree() const { return findChild<QTreeView*>("treeCameras"); }

    QAction* viewAction(const QString& text) const
    {
        for (QAction* action : menuBar()->actions())
            if (action->menu())
                for (QAction* entry : action->menu()->actions())
                    if (entry->text() == text)
                        return entry;
        return nullptr;
    }

    QStringList logLines() const
    {
        QStringList lines;
        for (int i = 0; i < m_logList->count(); ++i)
            lines << m_logList->item(i)->text();
        return lines;
    }

    // The row of a camera in the camera list, searched through all branches.
    QModelIndex cameraRow(const QString& extendedId, const QModelIndex& parent = {}) const
    {
        auto* model = qobject_cast<CameraTreeModel*>(tree()->model());
        for (int row = 0; row < model->rowCount(parent); ++row) {
            const QModelIndex index = model->index(row, 0, parent);
            if (!model->hasChildren(index) && model->GetCameraExtId(index) == extendedId)
                return index;
            const QModelIndex found = cameraRow(extendedId, index);
            if (found.isValid())
                return found;
        }
        return {};
    }

    // Picks the camera in the list and presses the open button, as an operator.
    bool openFromList(const QString& extendedId)
    {
        const QModelIndex row = cameraRow(extendedId);
        if (!row.isValid())
            return false;
        tree()->setCurrentIndex(row);
        auto* open = findChild<QPushButton*>("btnOpenCamera");
        if (!open->isEnabled())
            return false;
        open->click();
        return true;
    }
};

// Waits until the camera SDK has started and the list shows the camera.
#define WAIT_FOR_CAMERA(window, extendedId)                                                        \
    QTRY_VERIFY_WITH_TIMEOUT((window).m_cameraManager && (window).cameraRow(extendedId).isValid(), \
                             15000)
