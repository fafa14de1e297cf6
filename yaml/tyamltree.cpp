#include "tyamltree.h"

#include <QStringView>

#include <cstring>
#include <iterator>

namespace {

enum class LineKind { None, SectionHeader, KeyValue, ListItem };

constexpr QStringView keySeparator = u": ";

// The number of spaces that begin the line; equal to its length when the line is blank.
qsizetype leadingSpaces(QStringView line)
{
    qsizetype spaces = 0;
    while (spaces < line.size() && line[spaces] == u' ')
        ++spaces;
    return spaces;
}

// Writes the UTF-8 form of the name into out, whose buffer is reused from line to line so
// that names already in the tree cost no allocation. The text comes from Latin-1, so every
// character takes one or two bytes; anything wider goes through Qt's encoder.
void toUtf8Name(QStringView name, std::string &out)
{
    out.clear();
    for (const QChar character : name) {
        const char16_t code = character.unicode();
        if (code < 0x80) {
            out.push_back(char(code));
        } else if (code < 0x800) {
            out.push_back(char(0xC0 | (code >> 6)));
            out.push_back(char(0x80 | (code & 0x3F)));
        } else {
            const QByteArray bytes = name.toUtf8();
            out.assign(bytes.constData(), std::size_t(bytes.size()));
            return;
        }
    }
}

} // namespace

TYamlTree::TYamlTree()
    : TStringTree(nullptr)
{ }

int TYamlTree::countLeadingSpaces(const QString &line, bool &isListItem)
{
    const qsizetype spaces = leadingSpaces(line);
    if (spaces == line.size())
        return 0;
    // The "- " that opens a list item counts as one more level.
    isListItem = line.at(spaces) == u'-';
    return int(spaces) + (isListItem ? 1 : 0);
}

bool TYamlTree::isNewSection(const QList<QString>::iterator &line,
                             const QList<QString>::iterator &end)
{
    const auto next = std::next(line);
    if (next == end)
        return false;
    bool lineIsListItem = false;
    const int indentation = countLeadingSpaces(*line, lineIsListItem);
    if (lineIsListItem || leadingSpaces(*next) == next->size())
        return false;
    bool nextIsListItem = false;
    return countLeadingSpaces(*next, nextIsListItem) > indentation;
}

void TYamlTree::setYaml(const char *text)
{
    if (!text)
        return;
    QList<QString> lines
        = QString::fromLatin1(text, qsizetype(std::strlen(text))).split(u'\n', Qt::KeepEmptyParts);
    // The first line is the document start and the last element only marks the end, so a
    // text without a line feed has nothing to parse and no end mark to stop at.
    if (lines.size() < 2)
        return;

    TStringTree *current = this;
    int previousIndentation = 0;
    LineKind previousKind = LineKind::None;
    bool isListItem = false;
    std::string name;

    const auto end = std::prev(lines.end());
    for (auto line = std::next(lines.begin()); line != end; ++line) {
        if (line->isEmpty())
            continue;
        const QStringView lineView(*line);

        // A blank line leaves isListItem as the last line with text set it.
        const int indentation = countLeadingSpaces(*line, isListItem);
        for (int steps = previousIndentation - indentation; steps > 0 && current != this; --steps)
            current = current->parent();

        if (isListItem) {
            // An item is named by the value of its first field, such as a driver's car index.
            const qsizetype separator = lineView.lastIndexOf(keySeparator);
            const QStringView itemName
                = separator < 0 ? lineView : lineView.sliced(separator + keySeparator.size());
            toUtf8Name(itemName.trimmed(), name);
            current = current->addSub(name);
            previousKind = LineKind::ListItem;
        } else if (isNewSection(line, end)) {
            // A header right after a header of its own level first closes that one; as a
            // header is always followed by deeper lines, only malformed text could get here.
            if (indentation == previousIndentation && previousKind == LineKind::SectionHeader
                && current != this)
                current = current->parent();
            QStringView header = lineView.trimmed();
            if (!header.isEmpty())
                header.chop(1); // the ':'
            if (!header.isEmpty()) {
                toUtf8Name(header, name);
                current = current->addSub(name);
            }
            previousKind = LineKind::SectionHeader;
        } else {
            const qsizetype separator = lineView.indexOf(keySeparator);
            if (separator < 0) {
                toUtf8Name(lineView.trimmed(), name);
                current->set(name, QString());
            } else {
                toUtf8Name(lineView.first(separator).trimmed(), name);
                QStringView value = lineView.sliced(separator + keySeparator.size());
                // Anything after a second ": " is dropped.
                const qsizetype valueEnd = value.indexOf(keySeparator);
                if (valueEnd >= 0)
                    value = value.first(valueEnd);
                // A value written as "Key: " is empty but not null, unlike the value of "Key:".
                current->set(name, value.trimmed().toString());
            }
            previousKind = LineKind::KeyValue;
        }
        previousIndentation = indentation;
    }
}
