#include "CameraTreeItem.h"

#include <algorithm>

namespace {
const QString kExtendedId = QStringLiteral("Extended ID");
}

CameraTreeItem::CameraTreeItem(const CameraInfoMap& data, CameraTreeItem* parent)
    : m_data(data), m_parent(parent)
{
}

CameraTreeItem::~CameraTreeItem()
{
    for (CameraTreeItem* child : m_children)
        delete child;
}

CameraTreeItem* CameraTreeItem::GetChild(int row) const
{
    if (row < 0 || row >= ChildCount())
        return nullptr;
    return m_children[static_cast<size_t>(row)];
}

int CameraTreeItem::ChildCount() const
{
    return static_cast<int>(m_children.size());
}

int CameraTreeItem::ColumnCount() const
{
    return m_data.size();
}

QVariant CameraTreeItem::GetData(const QString& key) const
{
    return m_data.value(key);
}

void CameraTreeItem::SetData(const QString& key, const QVariant& value)
{
    m_data.insert(key, value);
}

CameraTreeItem* CameraTreeItem::ParentItem() const
{
    return m_parent;
}

int CameraTreeItem::GetRow() const
{
    if (!m_parent)
        return 0;
    const auto& siblings = m_parent->m_children;
    const auto it = std::find(siblings.begin(), siblings.end(), this);
    return it == siblings.end() ? -1 : static_cast<int>(it - siblings.begin());
}

bool CameraTreeItem::isChecked() const
{
    return m_checked;
}

void CameraTreeItem::setChecked(bool checked)
{
    m_checked = checked;
}

void CameraTreeItem::AppendChild(CameraTreeItem* child)
{
    child->m_parent = this;
    m_children.push_back(child);
}

void CameraTreeItem::RemoveChild(int row)
{
    if (row < 0 || row >= ChildCount())
        return;
    m_children.erase(m_children.begin() + row);
}

int CameraTreeItem::GetChildRow(const CameraInfoMap& info) const
{
    // Branch nodes carry no extended ID; a map without one must not match them.
    const QVariant id = info.value(kExtendedId);
    if (!id.isValid())
        return -1;
    for (int row = 0; row < ChildCount(); ++row) {
        const QVariant childId = m_children[static_cast<size_t>(row)]->GetData(kExtendedId);
        if (childId.isValid() && childId.toString() == id.toString())
            return row;
    }
    return -1;
}

void CameraTreeItem::RemoveCameraItem(const CameraInfoMap& info)
{
    RemoveChild(GetChildRow(info));
}
