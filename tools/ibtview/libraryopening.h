#pragma once

#include "libraryqueries.h"
#include "viewmodel.h"

#include <QStringList>

// Laps picked in the lap library, opened in the viewer. The library keeps the laps'
// summaries; their channels are in the files, which open through the import as any other
// file does. A file that has vanished or changed since it was added is not opened, with a
// message that says what to do about it. Once a file is open, of its laps exactly the chosen
// ones are overlaid, and the fastest chosen lap becomes the reference, as if the driver had
// made it so: they picked these laps to set them against each other.
class LibraryOpening
{
public:
    struct Plan
    {
        QStringList imports; // the files to import, each once
        QStringList messages; // one per file that cannot be opened
    };

    explicit LibraryOpening(ViewModel &model);

    // A new choice. Laps of files that are open already are overlaid at once, beside the
    // laps overlaid there before.
    Plan open(const QList<LibraryQueries::LapPlace> &laps);
    // The model has opened this file; when chosen laps are of it, it overlays them. Returns
    // a message for each chosen lap the file no longer holds.
    QStringList opened(qsizetype file);
    // The import of this file failed: its laps will not come.
    void failed(const QString &path);
    // The files asked for whose laps have not come yet.
    QStringList pending() const;

private:
    using LapPlace = LibraryQueries::LapPlace;

    struct Pending
    {
        QString path; // as handed to the import, and as its result names it
        QList<LapPlace> laps;
    };

    void overlay(qsizetype file, const QList<LapPlace> &laps, bool only, QStringList *messages);
    void chooseReference();

    ViewModel &m_model;
    QList<Pending> m_pending;
    QList<ViewModel::LapKey> m_chosen; // the laps of the last choice that are open
};
