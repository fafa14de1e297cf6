#pragma once

#include "stringeq.h"
#include "stringhash.h"

#include <QList>
#include <QString>
#include <QtGlobal>

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

// A tree of named string values and named sub-trees, addressed by paths of names separated by
// '/', such as "WeekendOptions/WeatherTemp". Names are raw bytes (UTF-8 in practice). A value
// name and a sub-tree name never clash: a node may hold both under the same name.
class TStringTree
{
public:
    explicit TStringTree(TStringTree *parent = nullptr);
    ~TStringTree();

    // Deletes the whole sub-tree hierarchy; the node's own values stay.
    void clear();

    bool hasParent() const { return m_parent != nullptr; }
    TStringTree *parent() const { return m_parent; }

    // The sub-tree of that name, created empty when there is none.
    TStringTree *addSub(const std::string &name);
    // The sub-tree of that name, or null.
    TStringTree *sub(std::string_view name);
    const TStringTree *sub(std::string_view name) const;
    // Follows every segment of the path as a sub-tree name, or null; the empty path is this
    // node, and a path that ends in '/' names the sub-tree before the slash.
    TStringTree *pathSub(std::string_view path);
    const TStringTree *pathSub(std::string_view path) const;

    void set(const std::string &key, const QString &value);
    // A copy of the value, or a null QString when there is none.
    QString value(std::string_view key) const;

    // All segments but the last name sub-trees (created as needed); the last is the value key.
    void pathSet(std::string_view path, const QString &value);
    // All segments but the last name sub-trees; the last is the value key. Null when missing.
    QString pathValue(std::string_view path) const;

    // In the maps' own order, which is neither sorted nor the order of insertion.
    QList<QString> valueKeys() const;
    QList<QString> subTreesKeys() const;

private:
    Q_DISABLE_COPY_MOVE(TStringTree)

    std::unordered_map<std::string, QString, StringHash, StringEq> m_values;
    std::unordered_map<std::string, std::unique_ptr<TStringTree>, StringHash, StringEq> m_subTrees;
    TStringTree *m_parent = nullptr;
};
