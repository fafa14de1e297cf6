#pragma once

#include "tstringtree.h"

#include <QList>
#include <QString>

// The root of a string tree filled from the simulator's session-information text: nested maps
// of "Key: value" lines indented one space per level, and lists whose items begin with "- ".
// List items are reached by the value of their first field, such as a driver by car index.
class TYamlTree : public TStringTree
{
public:
    TYamlTree();

    // Parses the Latin-1 text into this tree, adding to what the tree already holds; equal
    // keys take the later value. A null text counts as empty.
    void setYaml(const char *text);

    // The line's indentation: its leading spaces, plus one for a list item's '-'. Sets
    // isListItem from the first character that is not a space, and leaves it alone when
    // there is none.
    static int countLeadingSpaces(const QString &line, bool &isListItem);

    // Whether the line opens a section: it is not a list item, and the next line is not the end
    // mark, has a character that is not a space and is indented deeper. end points at the end
    // mark, the element after the last line that is parsed; line must come before it.
    static bool isNewSection(const QList<QString>::iterator &line,
                             const QList<QString>::iterator &end);
};
