// A library that LD_PRELOAD puts before the command's own libraries. It replaces one function by a signal.
//   SELVANE_CRASHES_IN   name of the function, a macro
//   SELVANE_CRASH        number of the signal, in the environment

#include <csignal>
#include <cstdlib>
#include <unistd.h>

extern "C" __attribute__((visibility("default"))) int Crash() __asm__(SELVANE_CRASHES_IN);

int Crash()
{
    const char* signal = std::getenv("SELVANE_CRASH");
    return ::kill(::getpid(), signal == nullptr ? SIGABRT : std::atoi(signal)); // raise() refuses some signals
}
