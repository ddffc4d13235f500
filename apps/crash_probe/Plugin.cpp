// A plug-in that faults while it is loaded: a stack overflow if the environment asks for one, or a null pointer.

#include <cstdlib>

namespace
{

int* volatile g_pointer = nullptr;

int Recurse(int depth)
{
    volatile char room[1000] = {};
    return depth < 0 ? 0 : Recurse(depth + 1) + room[depth % 7];
}

struct FaultyConstructor
{
    FaultyConstructor()
    {
        m_value = std::getenv("CRASH_PROBE_OVERFLOW") != nullptr ? Recurse(1) : *g_pointer; // <- in-loader
    }

    int m_value;
} g_faultyConstructor;

} // namespace
