#pragma once

#include "viewmodel.h"

#include <QStringList>
#include <QWidget>

#include <optional>

class LapTraces;

// The charts of the overlaid laps, stacked on one lap-distance axis: speed, the delta to the
// reference, throttle and brake, gear, steering, and any channel added. The mouse moves the
// cursor through all of them, the wheel zooms around the mouse, a drag picks a stretch to
// zoom into, a double-click shows the whole lap again; the arrow keys move the cursor (with
// Shift ten times as far), + and - zoom around it, Home resets the zoom. A chart added from
// the channel list goes again from its context menu.
class ChartsView : public QWidget
{
    Q_OBJECT

public:
    struct Chart
    {
        QString heading;
        QStringList channels; // the second one dashed: brake beside throttle
    };

    ChartsView(ViewModel &model, LapTraces &traces, QWidget *parent = nullptr);

    static QList<Chart> defaultCharts();
    const QList<Chart> &charts() const { return m_charts; }
    // A chart of one more channel, below the others; none twice.
    void addChannel(const QString &channel);
    // Takes the chart added for the channel away again; the default charts stay.
    void removeChannel(const QString &channel);

    // Where the charts' frames are in a view of that size.
    QList<QRectF> chartAreas(const QSize &size) const;
    // The lap distance at a horizontal position of the view.
    double distanceAt(double x) const;

    // Paints the charts into any painter over a view of that size: the screen, a picture.
    void paint(QPainter &painter, const QSize &size);

signals:
    void chartsChanged();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    QString title(const Chart &chart) const;

    ViewModel &m_model;
    LapTraces &m_traces;
    QList<Chart> m_charts;
    std::optional<double> m_dragStart; // x where the left button went down
    double m_dragNow = 0.0;
};
