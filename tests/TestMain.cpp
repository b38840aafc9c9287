// The expected texts group digits the en_US way; pin the locale before Qt first reads it.
#include <QByteArray>
#include <QtGlobal>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    qputenv("LC_ALL", "en_US.UTF-8");
    qputenv("LANG", "en_US.UTF-8");
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
