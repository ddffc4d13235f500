#include "tests/Support/Environment.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestTimeLimit.h"

#include <gmock/gmock.h>

#ifdef __SANITIZE_ADDRESS__
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_options()
{
    return "print_suppressions=0"; // some tests compare what a program writes to the standard error stream
}

/// Known leaks of other libraries. The C library never frees the folders of LOCPATH, which the hostile run sets. Qt's
/// platform "offscreen" never deletes its screen; Qt is compiled without frame pointers, so each part is named by the
/// function that allocates it. On a real screen Qt never closes its connection to the accessibility bus.
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
    Ardo::Kiln::Support::UseLocaleOfEnvironment();
    Ardo::Kiln::Support::LimitTimeOfEachTest();
    Ardo::Kiln::Support::CheckTemporaryFolder();
    return RUN_ALL_TESTS();
}
