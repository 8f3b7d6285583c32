#pragma once

#include "CameraInfoMap.h"

#include <QAbstractItemModel>
#include <QStringList>

class CameraTreeItem;

// The detected cameras as a three-level tree: transport layer, interface,
// camera. One visible column, "Detected cameras"; every row has a rich-text
// tooltip with its details. Cameras without full access are shown disabled and
// branch rows can never be selected.
class CameraTreeModel : public QAbstractItemModel
{
    Q_OBJECT
public:
    explicit CameraTreeModel(QObject* parent = nullptr);
    ~CameraTreeModel() override;

    QModelIndex index(int row, int column,
                      const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    // Accepts and ignores every edit: the tree is not editable through a view.
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    // Rebuilds the whole tree from a list; branches appear in first-seen order.
    void Init(const QVector<CameraInfoMap>& cameras);
    // "Extended ID" / "Camera Name" of the row; empty for a branch or invalid index.
    QString GetCameraExtId(const QModelIndex& index) const;
    QString GetCameraName(const QModelIndex& index) const;
    // Why the camera row cannot be opened; empty when it can, and for branches.
    QString GetCameraOpenRefusal(const QModelIndex& index) const;
    // Depth-first search below item for the camera with the map's "Extended ID".
    QModelIndex GetCameraIndex(CameraTreeItem* item, const CameraInfoMap& info) const;
    // The child of item whose "Detected cameras" text equals name.
    QModelIndex GetBranchIndex(CameraTreeItem* item, const QString& name) const;
    // A copy of info with "Detected cameras" set to "<model>-<serial>(<camera ID>)".
    static CameraInfoMap AddDisplayedId(const CameraInfoMap& info);

public slots:
    void OnCameraAdded(const CameraInfoMap& cameraInfo);
    void OnCameraRemoved(const CameraInfoMap& cameraInfo);
    void OnCameraAccessChanged(const CameraInfoMap& cameraInfo);

private:
    CameraTreeItem* itemAt(const QModelIndex& index) const;
    QModelIndex indexOf(CameraTreeItem* item) const;
    // Finds or creates the child of parent whose "Detected cameras" is name.
    CameraTreeItem* ensureBranch(CameraTreeItem* parent, const CameraInfoMap& branchData);
    void removeRow(CameraTreeItem* item);

    QStringList m_headerKeys;
    CameraTreeItem* m_root = nullptr;
};
