#include "CameraTreeModel.h"

#include "CameraOpenRefusal.h"
#include "CameraTreeItem.h"

#include <QHash>

namespace {
const QString kDetectedCameras = QStringLiteral("Detected cameras");
const QString kExtendedId = QStringLiteral("Extended ID");
const QString kCameraName = QStringLiteral("Camera Name");
const QString kFullAccess = QStringLiteral("Full Access");
const QString kInterface = QStringLiteral("Interface");
const QString kTransportLayer = QStringLiteral("Transport Layer");
const QString kTlPath = QStringLiteral("TL Path");

CameraInfoMap transportLayerBranch(const CameraInfoMap& camera)
{
    return {{kDetectedCameras, camera.value(kTransportLayer).toString()},
            {kTlPath, camera.value(kTlPath)}};
}

CameraInfoMap interfaceBranch(const CameraInfoMap& camera)
{
    const QString interfaceId = camera.value(kInterface).toString();
    return {{kDetectedCameras, interfaceId}, {kInterface, interfaceId}};
}
} // namespace

CameraTreeModel::CameraTreeModel(QObject* parent)
    : QAbstractItemModel(parent), m_headerKeys{kDetectedCameras,
                                               kCameraName,
                                               QStringLiteral("Camera ID"),
                                               QStringLiteral("Serial No."),
                                               kFullAccess,
                                               kExtendedId,
                                               kInterface,
                                               kTlPath}
{
}

CameraTreeModel::~CameraTreeModel()
{
    delete m_root;
}

CameraTreeItem* CameraTreeModel::itemAt(const QModelIndex& index) const
{
    if (index.isValid())
        return static_cast<CameraTreeItem*>(index.internalPointer());
    return m_root;
}

QModelIndex CameraTreeModel::indexOf(CameraTreeItem* item) const
{
    if (!item || item == m_root)
        return QModelIndex();
    return createIndex(item->GetRow(), 0, item);
}

QModelIndex CameraTreeModel::index(int row, int column, const QModelIndex& parent) const
{
    if (!hasIndex(row, column, parent))
        return QModelIndex();
    CameraTreeItem* parentItem = itemAt(parent);
    CameraTreeItem* child = parentItem ? parentItem->GetChild(row) : nullptr;
    return child ? createIndex(row, column, child) : QModelIndex();
}

QModelIndex CameraTreeModel::parent(const QModelIndex& index) const
{
    if (!index.isValid())
        return QModelIndex();
    CameraTreeItem* parentItem = itemAt(index)->ParentItem();
    if (!parentItem || parentItem == m_root)
        return QModelIndex();
    return createIndex(parentItem->GetRow(), 0, parentItem);
}

int CameraTreeModel::rowCount(const QModelIndex& parent) const
{
    if (parent.column() > 0)
        return 0;
    CameraTreeItem* item = itemAt(parent);
    return item ? item->ChildCount() : 0;
}

int CameraTreeModel::columnCount(const QModelIndex& parent) const
{
    CameraTreeItem* item = itemAt(parent);
    return item ? item->ColumnCount() : 0;
}

QVariant CameraTreeModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return QVariant();
    const CameraTreeItem* item = itemAt(index);
    if (role == Qt::DisplayRole) {
        // A camera carries more keys than there are header columns.
        if (index.column() >= m_headerKeys.size())
            return QVariant();
        return item->GetData(m_headerKeys.at(index.column()));
    }
    if (role == Qt::ToolTipRole) {
        // The first key is the displayed name itself; it never repeats in the tooltip.
        QString tooltip;
        for (int i = 1; i < m_headerKeys.size(); ++i) {
            const QVariant value = item->GetData(m_headerKeys.at(i));
            if (value.isNull())
                continue;
            tooltip +=
                QStringLiteral("<B>%1</B>: %2<BR>").arg(m_headerKeys.at(i), value.toString());
        }
        const QString refusal = GetCameraOpenRefusal(index);
        if (!refusal.isEmpty())
            tooltip += QStringLiteral("<B>%1</B>: %2<BR>").arg(tr("Cannot be opened"), refusal);
        return tooltip;
    }
    return QVariant();
}

bool CameraTreeModel::setData(const QModelIndex& index, const QVariant&, int)
{
    return index.isValid();
}

QVariant CameraTreeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 &&
        section < m_headerKeys.size())
        return m_headerKeys.at(section);
    return QVariant();
}

Qt::ItemFlags CameraTreeModel::flags(const QModelIndex& index) const
{
    Qt::ItemFlags result = QAbstractItemModel::flags(index);
    if (!index.isValid())
        return result;
    const CameraTreeItem* item = itemAt(index);
    const bool leaf = item->ChildCount() == 0;
    if (leaf)
        result.setFlag(Qt::ItemIsEnabled, item->GetData(kFullAccess).toBool());
    result.setFlag(Qt::ItemIsSelectable, leaf);
    return result;
}

void CameraTreeModel::Init(const QVector<CameraInfoMap>& cameras)
{
    beginResetModel();
    delete m_root;
    m_root = new CameraTreeItem({{kDetectedCameras, kDetectedCameras}});

    QHash<QString, CameraTreeItem*> transportLayers;
    QHash<QString, CameraTreeItem*> interfaces;
    for (const CameraInfoMap& camera : cameras) {
        const QString tlName = camera.value(kTransportLayer).toString();
        CameraTreeItem*& tl = transportLayers[tlName];
        if (!tl) {
            tl = new CameraTreeItem(transportLayerBranch(camera));
            m_root->AppendChild(tl);
        }
        // The same interface ID may exist under two transport layers.
        const QString ifKey =
            QStringLiteral("%1.%2").arg(camera.value(kInterface).toString(), tlName);
        CameraTreeItem*& itf = interfaces[ifKey];
        if (!itf) {
            itf = new CameraTreeItem(interfaceBranch(camera));
            tl->AppendChild(itf);
        }
        itf->AppendChild(new CameraTreeItem(AddDisplayedId(camera)));
    }
    endResetModel();
}

QString CameraTreeModel::GetCameraExtId(const QModelIndex& index) const
{
    if (!index.isValid())
        return QString();
    return itemAt(index)->GetData(kExtendedId).toString();
}

QString CameraTreeModel::GetCameraOpenRefusal(const QModelIndex& index) const
{
    if (!index.isValid() || itemAt(index)->ChildCount() != 0)
        return QString();
    const CameraTreeItem* item = itemAt(index);
    const QString model = QStringLiteral("Model Name");
    return cameraOpenRefusal(
        {{kFullAccess, item->GetData(kFullAccess)}, {model, item->GetData(model)}});
}

QString CameraTreeModel::GetCameraName(const QModelIndex& index) const
{
    if (!index.isValid())
        return QString();
    return itemAt(index)->GetData(kCameraName).toString();
}

QModelIndex CameraTreeModel::GetCameraIndex(CameraTreeItem* item, const CameraInfoMap& info) const
{
    if (!item)
        return QModelIndex();
    const QVariant id = info.value(kExtendedId);
    if (!id.isValid())
        return QModelIndex();
    for (int row = 0; row < item->ChildCount(); ++row) {
        CameraTreeItem* child = item->GetChild(row);
        if (child->ChildCount() == 0) {
            const QVariant childId = child->GetData(kExtendedId);
            if (childId.isValid() && childId.toString() == id.toString())
                return createIndex(row, 0, child);
        } else {
            const QModelIndex found = GetCameraIndex(child, info);
            if (found.isValid())
                return found;
        }
    }
    return QModelIndex();
}

QModelIndex CameraTreeModel::GetBranchIndex(CameraTreeItem* item, const QString& name) const
{
    if (!item)
        return QModelIndex();
    for (int row = 0; row < item->ChildCount(); ++row) {
        CameraTreeItem* child = item->GetChild(row);
        if (child->GetData(kDetectedCameras).toString() == name)
            return createIndex(row, 0, child);
    }
    return QModelIndex();
}

CameraInfoMap CameraTreeModel::AddDisplayedId(const CameraInfoMap& info)
{
    CameraInfoMap shown = info;
    shown.insert(kDetectedCameras, QStringLiteral("%1-%2(%3)")
                                       .arg(info.value(QStringLiteral("Model Name")).toString(),
                                            info.value(QStringLiteral("Serial No.")).toString(),
                                            info.value(QStringLiteral("Camera ID")).toString()));
    return shown;
}

CameraTreeItem* CameraTreeModel::ensureBranch(CameraTreeItem* parent,
                                              const CameraInfoMap& branchData)
{
    const QModelIndex found = GetBranchIndex(parent, branchData.value(kDetectedCameras).toString());
    if (found.isValid())
        return itemAt(found);
    const int row = parent->ChildCount();
    beginInsertRows(indexOf(parent), row, row);
    auto* branch = new CameraTreeItem(branchData);
    parent->AppendChild(branch);
    endInsertRows();
    return branch;
}

void CameraTreeModel::OnCameraAdded(const CameraInfoMap& cameraInfo)
{
    if (!m_root) {
        // The tree gains its single column here.
        beginResetModel();
        m_root = new CameraTreeItem({{kDetectedCameras, kDetectedCameras}});
        endResetModel();
    }
    // A list refresh may already have shown the camera this event announces.
    if (GetCameraIndex(m_root, cameraInfo).isValid())
        return;
    CameraTreeItem* tl = ensureBranch(m_root, transportLayerBranch(cameraInfo));
    CameraTreeItem* itf = ensureBranch(tl, interfaceBranch(cameraInfo));
    const int row = itf->ChildCount();
    beginInsertRows(indexOf(itf), row, row);
    itf->AppendChild(new CameraTreeItem(AddDisplayedId(cameraInfo)));
    endInsertRows();
}

void CameraTreeModel::removeRow(CameraTreeItem* item)
{
    CameraTreeItem* parentItem = item->ParentItem();
    const int row = item->GetRow();
    beginRemoveRows(indexOf(parentItem), row, row);
    parentItem->RemoveChild(row);
    endRemoveRows();
    // Views and persistent indexes have let go of the row only now.
    delete item;
}

void CameraTreeModel::OnCameraRemoved(const CameraInfoMap& cameraInfo)
{
    const QModelIndex found = GetCameraIndex(m_root, cameraInfo);
    if (!found.isValid())
        return;
    CameraTreeItem* leaf = itemAt(found);
    CameraTreeItem* itf = leaf->ParentItem();
    CameraTreeItem* tl = itf->ParentItem();
    // Each emptied branch goes with its own notification, so views and
    // persistent indexes never keep a row whose node no longer exists.
    removeRow(leaf);
    if (itf->ChildCount() == 0 && itf != m_root) {
        removeRow(itf);
        if (tl && tl != m_root && tl->ChildCount() == 0)
            removeRow(tl);
    }
}

void CameraTreeModel::OnCameraAccessChanged(const CameraInfoMap& cameraInfo)
{
    const QModelIndex found = GetCameraIndex(m_root, cameraInfo);
    if (!found.isValid())
        return;
    itemAt(found)->SetData(kFullAccess, cameraInfo.value(kFullAccess));
    emit dataChanged(found, found);
}
