// The entry of the DLL, on Windows only. It asks not to be called for every thread that comes and goes: the library
// keeps nothing per thread.

#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID)
{
    if (reason == DLL_PROCESS_ATTACH)
        DisableThreadLibraryCalls(instance);
    return TRUE;
}
