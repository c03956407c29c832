/* The DLL as a program finds it that knows only its name and the names of its functions. */

#include <stdint.h>
#include <stdio.h>
#include <windows.h>

typedef uint32_t (*BytesOfLine)(uint16_t type, uint32_t width);

int main(void)
{
    HMODULE library = LoadLibraryA("lx.dll");
    if (library == NULL) {
        fprintf(stderr, "no lx.dll: error %lu\n", GetLastError());
        return 1;
    }
    FARPROC found = GetProcAddress(library, "lxCalculateBytesOf1Line");
    BytesOfLine bytesOfLine = (BytesOfLine)(void (*)(void))found;
    if (bytesOfLine == NULL || bytesOfLine(0, 9) != 2 || bytesOfLine(6, 9) != 27) {
        fprintf(stderr, "lxCalculateBytesOf1Line is missing or wrong\n");
        return 1;
    }
    return FreeLibrary(library) ? 0 : 1;
}
