#include <cstdint>
#include <cstdio>

/// Stands for the platform's function, and tells how it was called.
extern "C" __attribute__((visibility("default"))) void *SetThreadDpiAwarenessContext(void *context)
{
    std::fprintf(stderr, "awareness %d\n", static_cast<int>(reinterpret_cast<intptr_t>(context)));
    return nullptr;
}
