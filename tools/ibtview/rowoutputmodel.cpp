#include "rowoutputmodel.h"

RowOutputModel::RowOutputModel(QObject *parent)
    : QAbstractTableModel(parent)
    , m_rows(QList<RowOutput::Column>())
{ }

void RowOutputModel::setRows(const RowOutput &rows)
{
    beginResetModel();
    m_rows = rows;
    endResetModel();
}

int RowOutputModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.rowCount());
}

int RowOutputModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.columns().size());
}

QVariant RowOutputModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
        return m_rows.text(index.row(), index.column());
    if (role == Qt::TextAlignmentRole)
        return (Qt::AlignVCenter
                | (RowOutput::isNumeric(m_rows.columns()[index.column()].kind) ? Qt::AlignRight
                                                                               : Qt::AlignLeft))
            .toInt();
    return {};
}

QVariant RowOutputModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return m_rows.columns()[section].title;
    return QAbstractTableModel::headerData(section, orientation, role);
}
