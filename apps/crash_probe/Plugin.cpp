// A plug-in that faults while it is loaded.

namespace
{

int* volatile g_pointer = nullptr;

struct FaultyConstructor
{
    FaultyConstructor() { m_value = *g_pointer; } // <- in-loader

    int m_value;
} g_faultyConstructor;

} // namespace
