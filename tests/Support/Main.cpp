#include <gmock/gmock.h>

#include <locale>

int main(int argc, char** argv)
{
    ::testing::InitGoogleMock(&argc, argv);
    // The global C and C++ locales follow the environment: one of the runs has a decimal comma there.
    std::locale::global(std::locale(""));
    return RUN_ALL_TESTS();
}
