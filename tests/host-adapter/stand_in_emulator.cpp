// Stands where the emulator would be: answers the adapter's question as it is told to, and prints what it was
// given.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

int main(int argc, char *argv[])
{
    const char *answer = std::getenv("STAND_IN_ANSWER");
    if (argc == 3 && std::string_view(argv[2]) == "tpm-crb-device,help" && answer != nullptr) {
        if (std::string_view(answer) == "hang")
            ::pause();
        while (std::string_view(answer) == "flood")
            std::puts("and another line of no use");
        std::puts(answer);
        return 0;
    }
    for (int i = 0; i < argc; ++i)
        std::puts(argv[i]);
    std::printf("%d\n", static_cast<int>(::getpid()));
    return 42;
}
