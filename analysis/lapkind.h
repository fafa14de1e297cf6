#pragma once

#include "lapheader.h"

#include <QString>

// A lap's kind as the tables show it: "out" for an out lap, "flying" for a flying lap, "-"
// where the import could not tell.
QString lapKindLabel(const ZUM::SDK::LapHeader &header);
