#pragma once

#include <QAbstractItemModel>
#include <QString>

// Every row of a tree as text, one line per row, indented by level, column 0.
inline QString dumpTree(const QAbstractItemModel& model, const QModelIndex& parent = QModelIndex(),
                        int level = 0)
{
    QString out;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex idx = model.index(row, 0, parent);
        out += QString(level * 2, ' ') + idx.data().toString() + '\n' +
               dumpTree(model, idx, level + 1);
    }
    return out;
}

// The first row, depth first, whose column 0 shows text.
inline QModelIndex findRow(const QAbstractItemModel& model, const QString& text,
                           const QModelIndex& parent = QModelIndex())
{
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex idx = model.index(row, 0, parent);
        if (idx.data().toString() == text)
            return idx;
        const QModelIndex below = findRow(model, text, idx);
        if (below.isValid())
            return below;
    }
    return QModelIndex();
}
