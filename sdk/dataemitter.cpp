#include "dataemitter.h"

namespace ZUM::SDK {

DataEmitter::DataEmitter(QObject *parent)
    : QObject(parent)
{ }

} // namespace ZUM::SDK
