#include "support/TestMain.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

bool isHomeForTests()
{
    const char *home = std::getenv("HOME");
    const passwd *entry = ::getpwuid(::getuid());
    if (home != nullptr && *home == '/' && (entry == nullptr || qstrcmp(home, entry->pw_dir) != 0))
        return true;
    std::fputs("This test would use the real home folder. Run it with ctest or with a HOME of its own.\n",
               stderr);
    return false;
}
