#include <gmock/gmock.h>

#include <locale>

#ifdef __SANITIZE_ADDRESS__
/// Leaks that are not ours: the C library keeps the folders of LOCPATH, which one of the runs sets, until the end. Qt's
/// platform without a screen never deletes its screen; Qt is compiled without frame pointers, so each part of that is
/// named by the function that allocates it. On a screen it keeps its connection to the accessibility bus.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions()
{
    return "leak:argz_add_sep\n"
           "leak:libdbus-1.so\n"
           "leak:libqoffscreen.so\n"
           "leak:QScreen::QScreen\n"
           "leak:QPlatformScreen::QPlatformScreen\n"
           "leak:QWindowSystemInterface::handleScreenAdded\n"
           "leak:QObject::QObject\n"
           "leak:QtSharedPointer::ExternalRefCountData::getAndRef\n";
}
#endif

int main(int argc, char** argv)
{
    ::testing::InitGoogleMock(&argc, argv);
    // The global C and C++ locales follow the environment: one of the runs has a decimal comma there.
    std::locale::global(std::locale(""));
    return RUN_ALL_TESTS();
}
