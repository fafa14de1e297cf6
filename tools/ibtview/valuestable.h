#pragma once

#include "viewmodel.h"

#include <QStringList>
#include <QTableWidget>

class LapTraces;

// The values of every overlaid lap at the cursor: one row per lap with a swatch of its
// colour, one column per channel of the charts, in the view's units.
class ValuesTable : public QTableWidget
{
    Q_OBJECT

public:
    ValuesTable(ViewModel &model, LapTraces &traces, QWidget *parent = nullptr);

    void setChannels(const QStringList &channels);
    void refresh();

private:
    ViewModel &m_model;
    LapTraces &m_traces;
    QStringList m_channels;
};
