#pragma once

#include "lapheader.h"

#include <QString>

// The session a lap belongs to, as a driver reads it: the kind the import gave it, and
// where that kind is unknown, the session text's own name beside it ("Unknown session
// (Offline Testing)"), since the import knows only some of the simulator's names.
QString sessionLabel(const ZUM::SDK::LapHeader &header);
