#include "carsetup.h"

#include "tyamltree.h"

#include <QMap>

#include <algorithm>

namespace {

// The tree holds its names unordered; the text's order is the simulator's (tyres before
// chassis, left front first), found by where each name first comes after its parent's.
QList<CarSetup::Node> nodesOf(const TStringTree &tree, const QByteArray &text, qsizetype from)
{
    QList<std::pair<qsizetype, CarSetup::Node>> placed;
    // A name starts its line: " Rear:" is not found inside " LeftRear:".
    const auto position = [&](const QString &name) {
        const qsizetype at = text.indexOf(' ' + name.toUtf8() + ':', from);
        return at < 0 ? text.size() : at;
    };
    for (const QString &key : tree.valueKeys()) {
        const QString value = tree.value(key.toStdString()).trimmed();
        if (!value.isEmpty())
            placed.append({position(key), {key, value, {}}});
    }
    for (const QString &key : tree.subTreesKeys()) {
        const qsizetype at = position(key);
        CarSetup::Node group {key, {}, nodesOf(*tree.sub(key.toStdString()), text, at)};
        if (!group.children.isEmpty())
            placed.append({at, group});
    }
    std::stable_sort(placed.begin(), placed.end(), [](const auto &a, const auto &b) {
        return a.first < b.first || (a.first == b.first && a.second.name < b.second.name);
    });
    QList<CarSetup::Node> nodes;
    for (auto &[at, node] : placed)
        nodes.append(std::move(node));
    return nodes;
}

void appendText(QString &text, const QList<CarSetup::Node> &nodes, int depth)
{
    for (const CarSetup::Node &node : nodes) {
        text += QString(depth * 2, QLatin1Char(' ')) + node.name;
        if (node.children.isEmpty())
            text += QStringLiteral(": ") + node.value;
        text += QLatin1Char('\n');
        appendText(text, node.children, depth + 1);
    }
}

// Every setting by its path, in the set-up's order.
void flatten(const QList<CarSetup::Node> &nodes, const QString &prefix,
             QList<std::pair<QString, QString>> &settings)
{
    for (const CarSetup::Node &node : nodes) {
        const QString path = prefix + node.name;
        if (node.children.isEmpty())
            settings.append({path, node.value});
        else
            flatten(node.children, path + QLatin1Char('/'), settings);
    }
}

} // namespace

CarSetup CarSetup::of(const QByteArray &sessionText)
{
    TYamlTree session;
    session.setYaml(sessionText.constData());
    CarSetup setup;
    const TStringTree *tree = session.sub("CarSetup");
    if (!tree)
        return setup;
    setup.m_groups
        = nodesOf(*tree, sessionText, std::max<qsizetype>(sessionText.indexOf("CarSetup:"), 0));
    // The simulator's own counter of set-up changes is no setting.
    setup.m_groups.erase(
        std::remove_if(setup.m_groups.begin(), setup.m_groups.end(),
                       [](const Node &node) { return node.name == QLatin1String("UpdateCount"); }),
        setup.m_groups.end());
    return setup;
}

QString CarSetup::text() const
{
    QString text;
    appendText(text, m_groups, 0);
    return text;
}

QString CarSetup::differences(const CarSetup &from, const CarSetup &to)
{
    QList<std::pair<QString, QString>> before;
    QList<std::pair<QString, QString>> after;
    flatten(from.m_groups, {}, before);
    flatten(to.m_groups, {}, after);
    QMap<QString, QString> afterByPath;
    for (const auto &[path, value] : after)
        afterByPath.insert(path, value);
    QString text;
    const auto line = [&text](const QString &path, const QString &a, const QString &b) {
        text += QStringLiteral("%1: %2 -> %3\n").arg(path, a, b);
    };
    QStringList seen;
    for (const auto &[path, value] : before) {
        seen.append(path);
        const QString other = afterByPath.value(path, QStringLiteral("-"));
        if (other != value)
            line(path, value, other);
    }
    for (const auto &[path, value] : after) {
        if (!seen.contains(path))
            line(path, QStringLiteral("-"), value);
    }
    return text;
}
