#pragma once

#include "zumsdk_global.h"

#include <QMetaType>

namespace ZUM::SDK {

// The session record that live plug-ins send with sendSessionInfo. This version of the
// host interface carries nothing in it.
class ZUMSDK_EXPORT SessionInfo
{
};

} // namespace ZUM::SDK

Q_DECLARE_METATYPE(ZUM::SDK::SessionInfo)
