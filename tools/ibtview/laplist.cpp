#include "laplist.h"

#include "lapkind.h"
#include "laptime.h"

#include <QFileInfo>
#include <QHeaderView>

namespace {

QTableWidgetItem *cell(const QString &text, bool best = false)
{
    auto *item = new QTableWidgetItem(text);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
    if (best) {
        QFont font = item->font();
        font.setBold(true);
        item->setFont(font);
        item->setBackground(QColor(0xe9, 0xdc, 0xf5));
    }
    return item;
}

} // namespace

LapList::LapList(ViewModel &model, QWidget *parent)
    : QTableWidget(parent)
    , m_model(model)
{
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setTextElideMode(Qt::ElideMiddle);
    verticalHeader()->hide();
    connect(&m_model, &ViewModel::lapsChanged, this, &LapList::rebuild);
    connect(&m_model, &ViewModel::overlayChanged, this, &LapList::showChecks);
    connect(&m_model, &ViewModel::referenceChanged, this, &LapList::showChecks);
    connect(this, &QTableWidget::itemChanged, this, &LapList::itemChanged);
}

int LapList::rowOf(ViewModel::LapKey key) const
{
    return int(m_rows.indexOf(key));
}

void LapList::rebuild()
{
    m_updating = true;
    m_rows = m_model.laps();
    qsizetype sectors = 0;
    for (const ViewModel::OpenFile &file : m_model.files())
        sectors = std::max(sectors, file.sectorStarts.size());
    QStringList headers {QStringLiteral("File"), QStringLiteral("Ref"),
                         QStringLiteral("Lap"),  QStringLiteral("Stint/lap"),
                         QStringLiteral("Time"), QStringLiteral("Kind")};
    for (qsizetype s = 0; s < sectors; ++s)
        headers.append(QStringLiteral("S%1").arg(s + 1));
    clear();
    setColumnCount(int(headers.size()));
    setHorizontalHeaderLabels(headers);
    setRowCount(int(m_rows.size()));
    for (int row = 0; row < m_rows.size(); ++row) {
        const ViewModel::LapKey key = m_rows[row];
        const ViewModel::OpenFile &file = m_model.files()[key.file];
        const ZUM::SDK::LapHeader &header = m_model.lap(key).header();
        QTableWidgetItem *name = cell(QFileInfo(file.result.file).fileName());
        name->setToolTip(file.result.file);
        name->setFlags(name->flags() | Qt::ItemIsUserCheckable);
        setItem(row, OverlayColumn, name);
        auto *reference = cell(QString());
        reference->setFlags(reference->flags() | Qt::ItemIsUserCheckable);
        setItem(row, ReferenceColumn, reference);
        setItem(row, 2, cell(QString::number(header.lapNumber)));
        setItem(row, 3, cell(QStringLiteral("%1/%2").arg(header.stint).arg(header.lapInStint)));
        setItem(row, 4, cell(LapTime::text(header.lapTime), key.lap == file.best));
        setItem(row, 5, cell(lapKindLabel(header)));
        const std::optional<SectorTimes> &times = file.sectorTimes[key.lap];
        for (qsizetype s = 0; s < sectors; ++s) {
            const bool has = times && s < times->times().size();
            setItem(row, int(6 + s),
                    cell(has ? QString::number(times->times()[s], 'f', 3) : QStringLiteral("-"),
                         has && file.bestSectors[s] == key.lap));
        }
    }
    m_updating = false;
    showChecks();
    resizeColumnsToContents();
    // Recorded files have long names: the middle of the name gives way to the times.
    setColumnWidth(OverlayColumn, std::min(columnWidth(OverlayColumn), 170));
}

void LapList::showChecks()
{
    m_updating = true;
    for (int row = 0; row < m_rows.size(); ++row) {
        const ViewModel::LapKey key = m_rows[row];
        item(row, OverlayColumn)
            ->setCheckState(m_model.isOverlaid(key) ? Qt::Checked : Qt::Unchecked);
        item(row, ReferenceColumn)
            ->setCheckState(m_model.reference() == key ? Qt::Checked : Qt::Unchecked);
    }
    m_updating = false;
}

void LapList::itemChanged(QTableWidgetItem *item)
{
    if (m_updating || item->row() >= m_rows.size())
        return;
    const ViewModel::LapKey key = m_rows[item->row()];
    if (item->column() == OverlayColumn)
        m_model.setOverlaid(key, item->checkState() == Qt::Checked);
    else if (item->column() == ReferenceColumn && item->checkState() == Qt::Checked)
        m_model.setReference(key);
    // One reference, and it stays overlaid: the boxes show what the model holds.
    showChecks();
}
