#pragma once

#include "OrxNUShadingCorrection.h"

#include <QComboBox>

// The panel as Init leaves it for a camera with one shading map slot (depth
// open, one entry in the selector), without a camera: the image, generation
// and map file tests need no camera SDK. Init itself on simulated cameras is
// tested in TestPanelCamera.
class PanelUnderTest : public OrxNUShadingCorrection
{
public:
    explicit PanelUnderTest(int entryId = 8193)
    {
        input.bitDepth = 0;
        imageFormat = QImage::Format_Indexed8;
        auto* selector = findChild<QComboBox*>("cmbShadingMapSelector");
        if (entryId >= 0) {
            selector->addItem("ShadingMap0");
            selector->setItemData(0, entryId, Qt::UserRole + 3);
        }
    }

    // A camera whose maps are user map files (nuc_usermap<k>.ge3).
    void addUserMapEntry(const QString& name, int k)
    {
        auto* selector = findChild<QComboBox*>("cmbShadingMapSelector");
        selector->addItem(name, QString("nuc_usermap%1.ge3").arg(k));
        selector->setCurrentIndex(selector->count() - 1);
        hasNucControl = true;
    }

    using OrxNUShadingCorrection::_addSelectedFiles;
    using OrxNUShadingCorrection::hasNucControl;
    using OrxNUShadingCorrection::noMapSelector;
};
