// Linked into a test executable that exports its symbols, this hides the X
// server's SHAPE extension from Xlib and libXext in that process: Xvfb cannot
// be started without SHAPE, but the board must cope with servers that lack it.

#include <X11/Xlib.h>

#include <dlfcn.h>

#include <cstring>

extern "C" Bool XQueryExtension(Display* display, const char* name, int* majorOpcode,
                                int* firstEvent, int* firstError)
{
    using Query = Bool (*)(Display*, const char*, int*, int*, int*);
    static const auto real = reinterpret_cast<Query>(dlsym(RTLD_NEXT, "XQueryExtension"));
    if (name && std::strcmp(name, "SHAPE") == 0) {
        *majorOpcode = 0;
        *firstEvent = 0;
        *firstError = 0;
        return False;
    }
    return real(display, name, majorOpcode, firstEvent, firstError);
}
