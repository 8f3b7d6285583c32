#pragma once

#include "BasicMainWindow.h"

class OrxNUShadingCorrection;
class OxCamera;
class QDockWidget;

// The program's main window: the frame with the camera list, and the NUC
// assistant in a fixed dock without a title at the bottom. While no camera is
// open the camera list shows; once the assistant accepts an opened camera it
// takes the camera list's place and the title names the camera.
class MainWindow : public BasicMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

public slots:
    void onInitAssistant(OxCamera* camera);
    void onResetAssistant();

private:
    OrxNUShadingCorrection* m_assistant;
    QDockWidget* m_assistantDock;
};
