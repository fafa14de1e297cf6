#pragma once

#include "librarybrowser.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QDateEdit;
class QLabel;
class QPushButton;
class QTableView;
class QTimer;
class RowOutputModel;

// File > Open from Library: the laps of the lap library, narrowed by the filters of
// `ibt-library laps` (track, car, driver, session kind, dates, timed laps only, order), in
// the columns it prints. The laps selected open with Open, Enter or a double click; the
// library's own message stands below the table when it cannot be read.
class LibraryDialog : public QDialog
{
    Q_OBJECT

public:
    explicit LibraryDialog(LibraryBrowser &browser, QWidget *parent = nullptr);

    QComboBox *trackFilter() const { return m_track; }
    QComboBox *carFilter() const { return m_car; }
    QComboBox *driverFilter() const { return m_driver; }
    QComboBox *kindFilter() const { return m_kind; }
    QCheckBox *sinceFilter() const { return m_sinceOn; }
    QDateEdit *sinceDate() const { return m_since; }
    QCheckBox *untilFilter() const { return m_untilOn; }
    QDateEdit *untilDate() const { return m_until; }
    QCheckBox *timedFilter() const { return m_timed; }
    QComboBox *order() const { return m_order; }
    QTableView *table() const { return m_table; }
    const RowOutputModel &laps() const { return *m_laps; }
    QLabel *status() const { return m_status; }
    QPushButton *openButton() const { return m_open; }

    // Whether an answer of the library is still to come.
    bool isWaiting() const;

    // What the filters ask for.
    LapFilter filter() const;
    LibraryQueries::LapOrder lapOrder() const;

signals:
    // The laps chosen, where the library has them.
    void lapsChosen(const QList<LibraryQueries::LapPlace> &laps);

protected:
    void showEvent(QShowEvent *event) override;

private:
    QComboBox *nameFilter(const QString &placeholder);
    QWidget *buildFilters();
    void refresh();
    void showNames(const LibraryBrowser::Names &names);
    void showLaps(const RowOutput &laps);
    void showFailure(const QString &message);
    void openSelected();
    void updateOpenButton();

    LibraryBrowser &m_browser;
    QComboBox *m_track = nullptr;
    QComboBox *m_car = nullptr;
    QComboBox *m_driver = nullptr;
    QComboBox *m_kind = nullptr;
    QCheckBox *m_sinceOn = nullptr;
    QDateEdit *m_since = nullptr;
    QCheckBox *m_untilOn = nullptr;
    QDateEdit *m_until = nullptr;
    QCheckBox *m_timed = nullptr;
    QComboBox *m_order = nullptr;
    QTableView *m_table = nullptr;
    RowOutputModel *m_laps = nullptr;
    QLabel *m_where = nullptr;
    QLabel *m_status = nullptr;
    QPushButton *m_open = nullptr;
    QTimer *m_refresh = nullptr;
    bool m_opening = false; // the chosen laps' places are asked for
};
