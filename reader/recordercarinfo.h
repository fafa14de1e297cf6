#pragma once

#include <QString>

// Who drives in one car slot; a slot without a driver name is not a car.
class RecorderCarInfo
{
public:
    QString driverName;
    QString teamName;
    QString carName;
    QString className;
};
