#include <gmock/gmock.h>

#include <locale>

#ifdef __SANITIZE_ADDRESS__
/// Leaks that are not ours: the C library keeps the folders of LOCPATH, which one of the runs sets, until the end.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions()
{
    return "leak:argz_add_sep\n";
}
#endif

int main(int argc, char** argv)
{
    ::testing::InitGoogleMock(&argc, argv);
    // The global C and C++ locales follow the environment: one of the runs has a decimal comma there.
    std::locale::global(std::locale(""));
    return RUN_ALL_TESTS();
}
