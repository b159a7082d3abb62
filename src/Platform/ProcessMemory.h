#pragma once

/// How the process keeps its heap small, where the C library is one that can be told (mallopt(3)).
namespace ProcessMemory {

/// Threads share one heap besides the main one, of which each would otherwise have its own half empty. To be
/// called before there are threads.
void useFewHeaps();
/// Gives back to the host what has been freed; worth its millisecond after much has been.
void returnUnused();

} // namespace ProcessMemory
