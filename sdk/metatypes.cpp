// Registers the data model's types with Qt's meta-type system when the library loads, so
// that hosts find them by name and queued signals and QVariant can carry them.

#include "carinfo.h"
#include "lap.h"
#include "lapheader.h"
#include "liveplugininfo.h"
#include "sample.h"
#include "sessioninfo.h"

#include <QList>
#include <QMetaType>
#include <QSharedPointer>

namespace {

void registerMetaTypes()
{
    qRegisterMetaType<ZUM::SDK::CarInfo>();
    qRegisterMetaType<ZUM::SDK::LivePluginInfo>();
    qRegisterMetaType<ZUM::SDK::Sample>();
    qRegisterMetaType<QList<ZUM::SDK::Sample>>();
    qRegisterMetaType<ZUM::SDK::LapHeader>();
    qRegisterMetaType<QSharedPointer<ZUM::SDK::Lap>>();
    qRegisterMetaType<QList<QSharedPointer<ZUM::SDK::Lap>>>();
    qRegisterMetaType<ZUM::SDK::SessionInfo>();
}

} // namespace

Q_CONSTRUCTOR_FUNCTION(registerMetaTypes)
