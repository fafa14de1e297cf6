#pragma once

#include "importresult.h"
#include "laptraces.h"
#include "librarybrowser.h"
#include "libraryopening.h"
#include "viewmodel.h"

#include <QMainWindow>

class ChartsView;
class ImportQueue;
class LapList;
class LibraryDialog;
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
// imports below. Files come from the command line, File > Open, the recent files, drops and
// the lap library.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    static constexpr int MostRecentFiles = 8;

    explicit MainWindow(const QString &pluginPath, QWidget *parent = nullptr);
    ~MainWindow() override;

    void openFiles(const QStringList &paths);
    // The lap library to browse: the --db option's value; empty for IBT_LIBRARY or the
    // default library file.
    void setLibrary(const QString &given);
    LibraryBrowser &library() { return m_library; }
    // Opens the laps' files and overlays the laps once they are imported.
    void openLibraryLaps(const QList<LibraryQueries::LapPlace> &laps);
    // File > Open from Library, shown (or made when it is first asked for).
    LibraryDialog *showLibraryDialog();
    QAction *libraryAction() const { return m_libraryAction; }

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
    void updateLibraryAction();
    void addRecent(const QString &path);
    void fillRecentMenu();
    void fillChannelList();
    void filterChannels(const QString &text);
    void chooseExport(const QString &kind);
    void chooseLapsExport();
    void refreshValueColumns();

    ViewModel m_model;
    LapTraces m_traces;
    LibraryBrowser m_library;
    LibraryOpening m_libraryOpening;
    LibraryDialog *m_libraryDialog = nullptr;
    QAction *m_libraryAction = nullptr;
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
