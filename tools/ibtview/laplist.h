#pragma once

#include "viewmodel.h"

#include <QTableWidget>

// The laps of the open files, one row each: file, lap, stint/lap, time, kind and the times
// through the track's own sectors, the file's best lap and best sectors in bold on a tint.
// The box before the file overlays the lap; the box in the next column ("Ref") makes it the
// reference.
class LapList : public QTableWidget
{
    Q_OBJECT

public:
    explicit LapList(ViewModel &model, QWidget *parent = nullptr);

    static constexpr int OverlayColumn = 0;
    static constexpr int ReferenceColumn = 1;
    // The row of a lap.
    int rowOf(ViewModel::LapKey key) const;

private:
    void rebuild();
    void showChecks();
    void itemChanged(QTableWidgetItem *item);

    ViewModel &m_model;
    QList<ViewModel::LapKey> m_rows;
    bool m_updating = false;
};
