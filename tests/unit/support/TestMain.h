#pragma once

#include <QTest>

/// Stands at the end of a test's source: runs the test class on an application of the given kind, as one of
/// the tests of its folder's program (see TestProgram.cpp).
#define QUILLO_TEST(Class, Application)                                                                      \
    int Class##Main(int argc, char** argv) {                                                                 \
        const Application application(argc, argv);                                                           \
        QCoreApplication::setAttribute(Qt::AA_Use96Dpi);                                                     \
        Class test;                                                                                          \
        return QTest::qExec(&test, argc, argv);                                                              \
    }
