#include "support/Capture.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <unistd.h>

namespace SelvaneTest
{

std::string CaptureStderr(const std::function<void()>& pCall)
{
    std::fflush(stderr);
    char name[] = "/tmp/selvane-stderr-XXXXXX";
    const int file = mkstemp(name);
    if (file < 0) throw std::runtime_error("no temporary file");
    unlink(name);
    const int saved = dup(2);
    dup2(file, 2);
    const auto restore = [&] {
        std::fflush(stderr);
        dup2(saved, 2);
        close(saved);
    };
    try {
        pCall();
    } catch (...) {
        restore();
        close(file);
        throw;
    }
    restore();
    std::string text(static_cast<size_t>(lseek(file, 0, SEEK_END)), '\0');
    const ssize_t got = pread(file, text.data(), text.size(), 0);
    close(file);
    text.resize(static_cast<size_t>(std::max<ssize_t>(got, 0)));
    return text;
}

std::string WithoutBlanks(const std::string& pText)
{
    std::string text(pText);
    text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
    return text;
}

namespace
{

std::string Text(const char* pText)
{
    return pText != nullptr ? pText : "(null)";
}

sFailure Describe(const Vornik::cException& pException)
{
    sFailure failure;
    failure.fType = Text(pException.GetType());
    failure.fDescription = Text(pException.GetDescription());
    failure.fMessage = Text(pException.GetMessage());
    failure.fFile = Text(pException.GetFile());
    failure.fTimeStamp = Text(pException.GetTimeStamp());
    failure.fFuncSig = Text(pException.GetFuncSig());
    failure.fLine = pException.GetLine();
    return failure;
}

} // namespace

sFailure FailureOf(const std::function<void()>& pCall)
{
    try {
        pCall();
    } catch (const Vornik::cException& exception) {
        return Describe(exception);
    } catch (const Vornik::cException* exception) {
        sFailure failure = Describe(*exception);
        delete exception;
        return failure;
    }
    return {};
}

} // namespace SelvaneTest
