// Loads the library while it runs, and faults on a thread that does not use it: late LIBRARY.

#include <cstdio>
#include <thread>

#include <dlfcn.h>

namespace
{

constexpr unsigned long long Flags = 15; // of Handler::SetFlags

int* volatile g_nothing = nullptr;

} // namespace

int main(int count, char** arguments)
{
    void* const library = count == 2 ? ::dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL) : nullptr;
    // Handler::SetFlags, as the compiler names it.
    auto* const setFlags = library != nullptr ? reinterpret_cast<void (*)(unsigned long long)>(
                                                    ::dlsym(library, "_ZN4Ardo4Kiln9Exception7Handler8SetFlagsEy"))
                                              : nullptr;
    if (setFlags == nullptr)
    {
        std::fprintf(stderr, "%s\n", ::dlerror());
        return 2;
    }
    setFlags(Flags);
    ::dlclose(library); // what is installed stays
    std::thread([] { *g_nothing = 1; }).join();
    return 0;
}
