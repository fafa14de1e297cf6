#include "tstringtree.h"

namespace {

// Follows every segment of the path as a sub-tree name; shared by the const and the
// non-const walk.
template<typename Tree>
Tree *followSubTrees(Tree *node, std::string_view path)
{
    std::size_t position = 0;
    while (position < path.size()) {
        const std::size_t slash = path.find('/', position);
        const std::string_view segment = slash == std::string_view::npos
            ? path.substr(position)
            : path.substr(position, slash - position);
        node = node->sub(segment);
        if (!node || slash == std::string_view::npos)
            return node;
        position = slash + 1;
    }
    return node;
}

} // namespace

TStringTree::TStringTree(TStringTree *parent)
    : m_parent(parent)
{ }

TStringTree::~TStringTree()
{
    clear();
}

void TStringTree::clear()
{
    // A session text can nest as deep as it has lines. The walk goes down the first sub-tree
    // and back up the parent links, deleting a node only once it has no sub-trees left: no
    // destructor recurses and nothing is allocated, however deep the tree.
    TStringTree *node = this;
    for (;;) {
        if (!node->m_subTrees.empty()) {
            node = node->m_subTrees.begin()->second.get();
            continue;
        }
        if (node == this)
            return;
        node = node->m_parent;
        node->m_subTrees.erase(node->m_subTrees.begin());
    }
}

TStringTree *TStringTree::addSub(const std::string &name)
{
    auto found = m_subTrees.find(name);
    if (found == m_subTrees.end())
        found = m_subTrees.emplace(name, std::make_unique<TStringTree>(this)).first;
    return found->second.get();
}

TStringTree *TStringTree::sub(std::string_view name)
{
    const auto found = m_subTrees.find(name);
    return found == m_subTrees.end() ? nullptr : found->second.get();
}

const TStringTree *TStringTree::sub(std::string_view name) const
{
    const auto found = m_subTrees.find(name);
    return found == m_subTrees.end() ? nullptr : found->second.get();
}

TStringTree *TStringTree::pathSub(std::string_view path)
{
    return followSubTrees(this, path);
}

const TStringTree *TStringTree::pathSub(std::string_view path) const
{
    return followSubTrees(this, path);
}

void TStringTree::set(const std::string &key, const QString &value)
{
    m_values.insert_or_assign(key, value);
}

QString TStringTree::value(std::string_view key) const
{
    const auto found = m_values.find(key);
    return found == m_values.end() ? QString() : found->second;
}

void TStringTree::pathSet(std::string_view path, const QString &value)
{
    TStringTree *node = this;
    std::size_t position = 0;
    for (std::size_t slash = path.find('/'); slash != std::string_view::npos;
         slash = path.find('/', position)) {
        const std::string_view segment = path.substr(position, slash - position);
        TStringTree *next = node->sub(segment);
        node = next ? next : node->addSub(std::string(segment));
        position = slash + 1;
    }
    const std::string_view key = path.substr(position);
    // Overwriting an existing value must not build a new key.
    const auto found = node->m_values.find(key);
    if (found != node->m_values.end())
        found->second = value;
    else
        node->m_values.emplace(std::string(key), value);
}

QString TStringTree::pathValue(std::string_view path) const
{
    const TStringTree *node = this;
    std::size_t position = 0;
    for (std::size_t slash = path.find('/'); slash != std::string_view::npos;
         slash = path.find('/', position)) {
        node = node->sub(path.substr(position, slash - position));
        if (!node)
            return QString();
        position = slash + 1;
    }
    return node->value(path.substr(position));
}

QList<QString> TStringTree::valueKeys() const
{
    QList<QString> keys;
    keys.reserve(qsizetype(m_values.size()));
    for (const auto &entry : m_values)
        keys.append(QString::fromUtf8(entry.first.data(), qsizetype(entry.first.size())));
    return keys;
}

QList<QString> TStringTree::subTreesKeys() const
{
    QList<QString> keys;
    keys.reserve(qsizetype(m_subTrees.size()));
    for (const auto &entry : m_subTrees)
        keys.append(QString::fromUtf8(entry.first.data(), qsizetype(entry.first.size())));
    return keys;
}
