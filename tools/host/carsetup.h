#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

// The car's set-up as the session text carries it (CarSetup): groups such as tyres, chassis
// and dampers, each with its settings, in the order the simulator writes them. A file holds
// one set-up, the one of its last session text.
class CarSetup
{
public:
    struct Node
    {
        QString name;
        QString value; // empty for a group
        QList<Node> children;
    };

    // Empty when the text has no CarSetup section.
    static CarSetup of(const QByteArray &sessionText);

    bool isEmpty() const { return m_groups.isEmpty(); }
    const QList<Node> &groups() const { return m_groups; }

    // A readable tree, two spaces of indent per level: "Tires\n  LeftFront\n    ...: 165 kPa".
    QString text() const;
    // The settings that differ between two set-ups, one per line: "Chassis/Front/ArbBlades:
    // 2 -> 3", with "-" for a setting one of them lacks. Empty when they are the same.
    static QString differences(const CarSetup &from, const CarSetup &to);

private:
    QList<Node> m_groups;
};
