#pragma once

#include <QAbstractItemModelTester>

/// Watches a model; what it does wrong fails the test.
struct ModelTester : QAbstractItemModelTester {
    explicit ModelTester(QAbstractItemModel *model)
        : QAbstractItemModelTester(model, FailureReportingMode::QtTest)
    {
    }
};
