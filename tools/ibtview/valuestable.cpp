#include "valuestable.h"

#include "laptraces.h"

#include <QHeaderView>

#include <algorithm>
#include <cmath>

namespace {

// Lap names of several files can be long; the values beside them are what the table is for.
constexpr int maxNameWidth = 200; // pixels
constexpr int minNameWidth = 60;

} // namespace

ValuesTable::ValuesTable(ViewModel &model, LapTraces &traces, QWidget *parent)
    : QTableWidget(parent)
    , m_model(model)
    , m_traces(traces)
{
    verticalHeader()->hide();
    setTextElideMode(Qt::ElideMiddle);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    for (const auto signal :
         {&ViewModel::lapsChanged, &ViewModel::overlayChanged, &ViewModel::referenceChanged,
          &ViewModel::cursorChanged, &ViewModel::unitsChanged})
        connect(&m_model, signal, this, &ValuesTable::refresh);
}

void ValuesTable::setChannels(const QStringList &channels)
{
    m_channels = channels;
    refresh();
}

void ValuesTable::refresh()
{
    const QList<ViewModel::LapKey> laps = m_model.overlaid();
    const double distance = m_model.cursor();
    setColumnCount(int(m_channels.size()) + 1);
    setRowCount(int(laps.size()));
    QStringList headers {QStringLiteral("at %1 m").arg(distance, 0, 'f', 0)};
    QStringList units(m_channels.size());
    for (int row = 0; row < laps.size(); ++row) {
        const ViewModel::LapKey key = laps[row];
        auto *name = new QTableWidgetItem(m_model.lapName(key));
        name->setToolTip(name->text());
        // A swatch of the lap's colour: the lighter colours read poorly as text.
        name->setData(Qt::DecorationRole, LapTraces::colour(m_model, key));
        setItem(row, 0, name);
        for (int c = 0; c < m_channels.size(); ++c) {
            const double value = m_traces.valueAt(key, m_channels[c], distance);
            if (units[c].isEmpty() && std::isfinite(value))
                units[c] = m_traces.conversion(key, m_channels[c]).unit;
            auto *item = new QTableWidgetItem(std::isfinite(value) ? QString::number(value, 'f', 2)
                                                                   : QStringLiteral("-"));
            item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            setItem(row, c + 1, item);
        }
    }
    for (int c = 0; c < m_channels.size(); ++c)
        headers.append(units[c].isEmpty() ? m_channels[c]
                                          : QStringLiteral("%1 [%2]").arg(m_channels[c], units[c]));
    setHorizontalHeaderLabels(headers);
    resizeColumnsToContents();
    setColumnWidth(0, std::clamp(columnWidth(0), minNameWidth, maxNameWidth));
}
