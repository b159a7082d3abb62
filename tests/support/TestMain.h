#pragma once

#include "support/Patience.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QtTest>

/// Refuses to go on where a test could reach the real home folder: $HOME must be a folder of the tests' own.
/// Returns false after saying so on standard error.
[[nodiscard]] bool isHomeForTests();

#define KELVO_TEST_MAIN_WITH(Application, TestClass)                                                         \
    int main(int argc, char *argv[])                                                                         \
    {                                                                                                        \
        if (!isHomeForTests())                                                                               \
            return EXIT_FAILURE;                                                                             \
        Application application(argc, argv);                                                                 \
        TestClass test;                                                                                      \
        return QTest::qExec(&test, argc, argv);                                                              \
    }

#define KELVO_TEST_MAIN(TestClass) KELVO_TEST_MAIN_WITH(QCoreApplication, TestClass)
#define KELVO_GUI_TEST_MAIN(TestClass) KELVO_TEST_MAIN_WITH(QGuiApplication, TestClass)
