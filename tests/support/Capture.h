#ifndef SELVANE_TESTS_SUPPORT_CAPTURE_H
#define SELVANE_TESTS_SUPPORT_CAPTURE_H

// What the library says: the standard error stream, and the seven pieces of an exception.

#include "bitmap/cException.h"

#include <functional>
#include <string>

namespace SelvaneTest
{

/// The bytes that the call writes to file descriptor 2.
std::string CaptureStderr(const std::function<void()>& pCall);

/// The text without blanks: compilers place them differently in signatures ("void**", "void **").
std::string WithoutBlanks(const std::string& pText);

/// What a call threw, by value.
struct sFailure
{
    std::string fType; ///< empty: nothing was thrown; otherwise GetType()
    std::string fDescription;
    std::string fMessage;
    std::string fFile;
    std::string fTimeStamp;
    std::string fFuncSig;
    int fLine = 0;
};

/// Runs the call and reports the cException object that it threw, or the one whose pointer it threw.
sFailure FailureOf(const std::function<void()>& pCall);

} // namespace SelvaneTest

/// Expects that the statement throws the class with these words, from this source file and a function whose signature
/// holds pFunction.
#define EXPECT_FAILURE(pStatement, pClass, pWords, pFile, pFunction)                                                   \
    do {                                                                                                               \
        const ::SelvaneTest::sFailure failure_ = ::SelvaneTest::FailureOf([&] { pStatement; });                        \
        EXPECT_EQ(failure_.fType, #pClass);                                                                            \
        EXPECT_EQ(failure_.fMessage, pWords);                                                                          \
        EXPECT_EQ(failure_.fFile, pFile);                                                                              \
        EXPECT_NE(::SelvaneTest::WithoutBlanks(failure_.fFuncSig).find(::SelvaneTest::WithoutBlanks(pFunction)),       \
                  std::string::npos)                                                                                   \
            << failure_.fFuncSig;                                                                                      \
    } while (false)

#endif
