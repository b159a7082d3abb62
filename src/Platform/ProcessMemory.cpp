#include "Platform/ProcessMemory.h"

#include <cstdlib> // says which C library it is

#ifdef __GLIBC__
#include <malloc.h>
#endif

void ProcessMemory::useFewHeaps()
{
#ifdef __GLIBC__
    ::mallopt(M_ARENA_MAX, 2);
#endif
}

void ProcessMemory::returnUnused()
{
#ifdef __GLIBC__
    ::malloc_trim(0);
#endif
}
