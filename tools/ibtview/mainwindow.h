#pragma once

#include "importresult.h"
#include "laptraces.h"
#include "viewmodel.h"

#include <QMainWindow>

class ChartsView;
class ImportQueue;
class LapList;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QMenu;
class QPlainTextEdit;
class QProgressBar;
class TrackMapView;
class ValuesTable;

// The viewer's window: the lap list and the channel list on the left, the charts in the
// middle, the values at the cursor and the track map on the right, the messages of the
// imports below. Files come from the command line, File > Open, the recent files and drops.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    static constexpr int MostRecentFiles = 8;

    explicit MainWindow(const QString &pluginPath, QWidget *parent = nullptr);
    ~MainWindow() override;

    void openFiles(const QStringList &paths);

    ViewModel &model() { return m_model; }
    ImportQueue &imports() { return *m_imports; }
    ChartsView *charts() const { return m_charts; }
    TrackMapView *trackMap() const { return m_map; }
    LapList *lapList() const { return m_lapList; }
    ValuesTable *valuesTable() const { return m_values; }
    QListWidget *channelList() const { return m_channelList; }
    QLineEdit *channelSearch() const { return m_channelSearch; }
    QPlainTextEdit *messages() const { return m_messages; }

    // The charts and the map side by side, as the window shows them, into any painter.
    QSize viewSize() const;
    void paintView(QPainter &painter);
    // A picture of the view, PNG or SVG by the name's ending; false with errorString set.
    bool exportView(const QString &path, QString *errorString);
    // The overlaid laps as CSV files in a folder, as ibt-laps writes them, in the view's units;
    // the files written are appended to written.
    bool exportLaps(const QString &directory, QStringList *written, QString *errorString);

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void buildMenus();
    QWidget *buildLeft();
    QWidget *buildRight();
    void imported(const ImportResult &result);
    void showProgress(int done, int total, const QString &current);
    void addRecent(const QString &path);
    void fillRecentMenu();
    void fillChannelList();
    void filterChannels(const QString &text);
    void chooseExport(const QString &kind);
    void chooseLapsExport();
    void refreshValueColumns();

    ViewModel m_model;
    LapTraces m_traces;
    ImportQueue *m_imports = nullptr;
    ChartsView *m_charts = nullptr;
    TrackMapView *m_map = nullptr;
    LapList *m_lapList = nullptr;
    ValuesTable *m_values = nullptr;
    QComboBox *m_mapColour = nullptr;
    QLineEdit *m_channelSearch = nullptr;
    QListWidget *m_channelList = nullptr;
    QPlainTextEdit *m_messages = nullptr;
    QProgressBar *m_progress = nullptr;
    QLabel *m_progressText = nullptr;
    QMenu *m_recentMenu = nullptr;
};
