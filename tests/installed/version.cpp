// The headers' version is that which the package was found with (FOUND_VERSION), and the preprocessor can ask for it.
#include "ORVA/Core.h"

#include <cstdio>
#include <cstring>

#if ORVA_VERSION < 10000 || ORVA_VERSION_MAJOR < 1
#error "no such version was ever made"
#endif

int main()
{
    char text[32];
    std::snprintf(text, sizeof text, "%d.%d.%d", ORVA_VERSION / 10000, ORVA_VERSION / 100 % 100, ORVA_VERSION % 100);
    std::printf("headers %s, package %s\n", text, FOUND_VERSION);
    return std::strcmp(text, FOUND_VERSION) == 0 ? 0 : 1;
}
