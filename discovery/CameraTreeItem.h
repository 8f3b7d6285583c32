#pragma once

#include "CameraInfoMap.h"

#include <QVariant>
#include <vector>

// One node of the camera tree: a transport layer, an interface or a camera.
// A node owns its children; removing a child only unlinks it, so that the
// model can finish announcing the removal before the node is destroyed.
class CameraTreeItem
{
public:
    explicit CameraTreeItem(const CameraInfoMap& data, CameraTreeItem* parent = nullptr);
    ~CameraTreeItem();

    CameraTreeItem(const CameraTreeItem&) = delete;
    CameraTreeItem& operator=(const CameraTreeItem&) = delete;

    // Null when the row is out of range.
    CameraTreeItem* GetChild(int row) const;
    int ChildCount() const;
    // The number of keys the node carries.
    int ColumnCount() const;
    // Invalid when the node has no such key.
    QVariant GetData(const QString& key) const;
    void SetData(const QString& key, const QVariant& value);
    CameraTreeItem* ParentItem() const;
    // Index among the parent's children; 0 for the root, -1 when not linked.
    int GetRow() const;

    bool isChecked() const;
    void setChecked(bool checked);

    // Takes ownership and makes this node the child's parent.
    void AppendChild(CameraTreeItem* child);
    // Unlinks the child at row (ignored when out of range); does not destroy it.
    void RemoveChild(int row);
    // Row of the child whose "Extended ID" equals the one of info, or -1.
    int GetChildRow(const CameraInfoMap& info) const;
    // Unlinks the child found by GetChildRow; does not destroy it.
    void RemoveCameraItem(const CameraInfoMap& info);

private:
    std::vector<CameraTreeItem*> m_children;
    CameraInfoMap m_data;
    CameraTreeItem* m_parent;
    bool m_checked = false;
};
