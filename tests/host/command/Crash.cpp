// Loaded in front of the command's libraries: in the place of one function stands a crash, or a signal from outside.
//   SELVANE_CRASHES_IN   name of the function, set when this file is compiled
//   SELVANE_CRASH        number of the signal, in the environment

#include <csignal>
#include <cstdlib>
#include <unistd.h>

extern "C" __attribute__((visibility("default"))) int Crash() __asm__(SELVANE_CRASHES_IN);

int Crash()
{
    const char* signal = std::getenv("SELVANE_CRASH");
    return ::kill(::getpid(), signal == nullptr ? SIGABRT : std::atoi(signal)); // raise() refuses some
}
