#include "librarydialog.h"

#include "rowoutputmodel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>

namespace {

// Typing in a filter asks again once the typing pauses.
constexpr int TypingPauseMilliseconds = 250;
constexpr int LeastFileColumnWidth = 160;

void fill(QComboBox *combo, const QStringList &names)
{
    const QString current = combo->currentText();
    const QSignalBlocker blocker(combo);
    combo->clear();
    combo->addItem(QString());
    combo->addItems(names);
    combo->setCurrentText(current);
}

} // namespace

LibraryDialog::LibraryDialog(LibraryBrowser &browser, QWidget *parent)
    : QDialog(parent)
    , m_browser(browser)
    , m_laps(new RowOutputModel(this))
    , m_refresh(new QTimer(this))
{
    setWindowTitle(QStringLiteral("Open from Library"));
    m_refresh->setSingleShot(true);
    m_refresh->setInterval(TypingPauseMilliseconds);
    connect(m_refresh, &QTimer::timeout, this, &LibraryDialog::refresh);

    m_where = new QLabel;
    m_where->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_table = new QTableView;
    m_table->setModel(m_laps);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_table->setTextElideMode(Qt::ElideMiddle);
    m_table->setWordWrap(false);
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    m_table->horizontalHeader()->setStretchLastSection(true);
    connect(m_table, &QTableView::doubleClicked, this, &LibraryDialog::openSelected);
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &LibraryDialog::updateOpenButton);
    m_status = new QLabel;
    m_status->setWordWrap(true);
    m_status->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    m_open = buttons->addButton(QStringLiteral("&Open"), QDialogButtonBox::AcceptRole);
    m_open->setDefault(true);
    m_open->setEnabled(false);
    // Open asks for the laps' places first; the dialog closes once they are known.
    connect(m_open, &QPushButton::clicked, this, &LibraryDialog::openSelected);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_where);
    layout->addWidget(buildFilters());
    layout->addWidget(m_table, 1);
    layout->addWidget(m_status);
    layout->addWidget(buttons);

    connect(&m_browser, &LibraryBrowser::namesAnswered, this, &LibraryDialog::showNames);
    connect(&m_browser, &LibraryBrowser::lapsAnswered, this, &LibraryDialog::showLaps);
    connect(&m_browser, &LibraryBrowser::failed, this, &LibraryDialog::showFailure);
    connect(&m_browser, &LibraryBrowser::placesAnswered, this,
            [this](const QList<LibraryQueries::LapPlace> &places) {
                if (!m_opening)
                    return;
                m_opening = false;
                updateOpenButton();
                accept();
                emit lapsChosen(places);
            });
    resize(1150, 620);
}

QComboBox *LibraryDialog::nameFilter(const QString &placeholder)
{
    auto *combo = new QComboBox;
    // A part of a name matches too, as on ibt-library's command line.
    combo->setEditable(true);
    combo->setInsertPolicy(QComboBox::NoInsert);
    combo->lineEdit()->setPlaceholderText(placeholder);
    combo->lineEdit()->setClearButtonEnabled(true);
    combo->setMinimumContentsLength(14);
    combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    connect(combo, &QComboBox::currentTextChanged, m_refresh, qOverload<>(&QTimer::start));
    return combo;
}

QWidget *LibraryDialog::buildFilters()
{
    m_track = nameFilter(QStringLiteral("any track"));
    m_car = nameFilter(QStringLiteral("any car"));
    m_driver = nameFilter(QStringLiteral("any driver"));
    m_kind = nameFilter(QStringLiteral("any session"));

    const QDate today = QDateTime::currentDateTimeUtc().date();
    const auto dateFilter = [this, today](const QString &text, QCheckBox **on, QDateEdit **date) {
        *on = new QCheckBox(text);
        *date = new QDateEdit(today);
        (*date)->setDisplayFormat(QStringLiteral("yyyy-MM-dd"));
        (*date)->setCalendarPopup(true);
        (*date)->setEnabled(false);
        (*date)->setToolTip(QStringLiteral("The day the session was recorded on, UTC"));
        connect(*on, &QCheckBox::toggled, *date, &QWidget::setEnabled);
        connect(*on, &QCheckBox::toggled, this, &LibraryDialog::refresh);
        connect(*date, &QDateEdit::dateChanged, m_refresh, qOverload<>(&QTimer::start));
    };
    dateFilter(QStringLiteral("&Since"), &m_sinceOn, &m_since);
    dateFilter(QStringLiteral("&Until"), &m_untilOn, &m_until);
    m_timed = new QCheckBox(QStringLiteral("T&imed laps only"));
    connect(m_timed, &QCheckBox::toggled, this, &LibraryDialog::refresh);
    m_order = new QComboBox;
    m_order->addItems({QStringLiteral("date"), QStringLiteral("lap time")});
    connect(m_order, &QComboBox::currentIndexChanged, this, &LibraryDialog::refresh);

    auto *filters = new QWidget;
    auto *grid = new QGridLayout(filters);
    grid->setContentsMargins(0, 0, 0, 0);
    const std::pair<QString, QComboBox *> names[] = {{QStringLiteral("&Track"), m_track},
                                                     {QStringLiteral("&Car"), m_car},
                                                     {QStringLiteral("&Driver"), m_driver},
                                                     {QStringLiteral("S&ession"), m_kind}};
    int column = 0;
    for (const auto &[title, combo] : names) {
        auto *label = new QLabel(title);
        label->setBuddy(combo);
        grid->addWidget(label, 0, column);
        grid->addWidget(combo, 0, column + 1);
        grid->setColumnStretch(column + 1, 1);
        column += 2;
    }
    auto *dates = new QHBoxLayout;
    dates->addWidget(m_sinceOn);
    dates->addWidget(m_since);
    dates->addSpacing(12);
    dates->addWidget(m_untilOn);
    dates->addWidget(m_until);
    dates->addSpacing(12);
    dates->addWidget(m_timed);
    dates->addStretch(1);
    auto *orderLabel = new QLabel(QStringLiteral("S&ort by"));
    orderLabel->setBuddy(m_order);
    dates->addWidget(orderLabel);
    dates->addWidget(m_order);
    grid->addLayout(dates, 1, 0, 1, column);
    return filters;
}

bool LibraryDialog::isWaiting() const
{
    return m_refresh->isActive() || m_browser.isBusy();
}

LapFilter LibraryDialog::filter() const
{
    LapFilter filter;
    filter.track = m_track->currentText().trimmed();
    filter.car = m_car->currentText().trimmed();
    filter.driver = m_driver->currentText().trimmed();
    filter.kind = m_kind->currentText().trimmed();
    if (m_sinceOn->isChecked())
        filter.setSinceDay(m_since->date());
    if (m_untilOn->isChecked())
        filter.setUntilDay(m_until->date());
    filter.timedOnly = m_timed->isChecked();
    return filter;
}

LibraryQueries::LapOrder LibraryDialog::lapOrder() const
{
    return m_order->currentIndex() == 1 ? LibraryQueries::LapOrder::Time
                                        : LibraryQueries::LapOrder::Date;
}

void LibraryDialog::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    // The library may have grown since the dialog was last open.
    m_where->setText(QStringLiteral("Library: %1").arg(m_browser.displayText()));
    m_browser.askNames();
    refresh();
}

void LibraryDialog::refresh()
{
    m_refresh->stop();
    m_browser.askLaps(filter(), lapOrder());
}

void LibraryDialog::showNames(const LibraryBrowser::Names &names)
{
    fill(m_track, names.tracks);
    fill(m_car, names.cars);
    fill(m_driver, names.drivers);
    fill(m_kind, names.kinds);
}

void LibraryDialog::showLaps(const RowOutput &laps)
{
    m_laps->setRows(laps);
    m_table->resizeColumnsToContents();
    // Long paths give way in their middle (whole in their tool tip) to the other columns.
    if (const int file = int(laps.columnOf(QStringLiteral("file"))); file >= 0) {
        int others = 0;
        for (int column = 0; column < m_laps->columnCount(); ++column)
            others += column == file ? 0 : m_table->columnWidth(column);
        const int room = m_table->viewport()->width() - others;
        m_table->setColumnWidth(
            file, std::max(std::min(m_table->columnWidth(file), room), LeastFileColumnWidth));
    }
    m_status->setStyleSheet(QString());
    m_status->setText(laps.rowCount() == 1 ? QStringLiteral("1 lap")
                                           : QStringLiteral("%1 laps").arg(laps.rowCount()));
    updateOpenButton();
}

void LibraryDialog::showFailure(const QString &message)
{
    m_opening = false;
    m_laps->setRows(RowOutput({}));
    m_status->setStyleSheet(QStringLiteral("color: #b00020"));
    m_status->setText(message);
    updateOpenButton();
}

void LibraryDialog::openSelected()
{
    if (m_opening)
        return;
    // In the table's order.
    QList<int> rows;
    for (const QModelIndex &row : m_table->selectionModel()->selectedRows())
        rows.append(row.row());
    std::sort(rows.begin(), rows.end());
    QList<qint64> ids;
    for (const int row : std::as_const(rows))
        ids.append(m_laps->rows().value(row, QStringLiteral("id")).toLongLong());
    if (ids.isEmpty())
        return;
    m_opening = true;
    updateOpenButton();
    m_browser.askPlaces(ids);
}

void LibraryDialog::updateOpenButton()
{
    m_open->setEnabled(!m_opening && m_table->selectionModel()->hasSelection());
}
