#pragma once

#include "rowoutput.h"

#include <QAbstractTableModel>

// The rows of one of the library's listings for a table view: the columns and cells exactly
// as ibt-library prints them in its table.
class RowOutputModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    explicit RowOutputModel(QObject *parent = nullptr);

    void setRows(const RowOutput &rows);
    const RowOutput &rows() const { return m_rows; }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    RowOutput m_rows;
};
