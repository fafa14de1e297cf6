#pragma once

// Field by field, so that a failure names the field that differs.

#include "carinfo.h"

#include <QTest>

inline void compareCarInfo(const ZUM::SDK::CarInfo &actual, const ZUM::SDK::CarInfo &expected)
{
    QCOMPARE(actual.carId, expected.carId);
    QCOMPARE(actual.sourceName, expected.sourceName);
    QCOMPARE(actual.pluginName, expected.pluginName);
    QCOMPARE(actual.carName, expected.carName);
    QCOMPARE(actual.className, expected.className);
    QCOMPARE(actual.driverName, expected.driverName);
    QCOMPARE(actual.teamName, expected.teamName);
    QCOMPARE(actual.status, expected.status);
    QCOMPARE(actual.detailedTelemetry, expected.detailedTelemetry);
}
