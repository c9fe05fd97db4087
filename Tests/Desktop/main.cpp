#include <QCoreApplication>
#include <gtest/gtest.h>

#include <cstdlib>

int main(int argumentCount, char** arguments) {
    // The library that reads windows aloud asks widgets that have just gone for more, by names that are none.
    // The bus library would end the process for that; told not to, it refuses, and the widget reads as
    // nothing.
    ::setenv("DBUS_FATAL_WARNINGS", "0", 0);
    QCoreApplication application(argumentCount, arguments);
    testing::InitGoogleTest(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}
