#include <gtest/gtest.h>

#include <QCoreApplication>

int main(int argumentCount, char** arguments)
{
    ::testing::InitGoogleTest(&argumentCount, arguments);
    const QCoreApplication application(argumentCount, arguments);
    return RUN_ALL_TESTS();
}
